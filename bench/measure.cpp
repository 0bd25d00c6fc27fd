// SPDX-License-Identifier: Apache-2.0
#include "measure.h"

#include <sched.h>
#include <stdio.h>
#include <stdlib.h>
#include <time.h>

#include <algorithm>

namespace hidlaudio::bench {
namespace {

bool gAllGood = true;

double medianTurn(const TimedOperation& operation, int operations) {
    std::vector<double> times;
    times.reserve(static_cast<size_t>(operations));
    for (int i = 0; i < operations; ++i) times.push_back(operation());
    return median(std::move(times));
}

}  // namespace

void die(const std::string& message) {
    fprintf(stderr, "%s\n", message.c_str());
    exit(2);
}

void pin(int processor) {
    if (processor < 0) return;
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(static_cast<size_t>(processor), &set);
    if (sched_setaffinity(0, sizeof(set), &set) != 0) perror("sched_setaffinity");
}

double nowMicroseconds() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) * 1e6 + static_cast<double>(now.tv_nsec) / 1e3;
}

double median(std::vector<double> values) {
    if (values.empty()) return 0;
    auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

TimedOperation timed(std::function<void()> operation) {
    return [operation = std::move(operation)] {
        const double begin = nowMicroseconds();
        operation();
        return nowMicroseconds() - begin;
    };
}

Comparison compare(const TimedOperation& ours, const TimedOperation& other, int turns, int operations) {
    std::vector<double> oursTimes;
    std::vector<double> otherTimes;
    std::vector<double> ratios;
    for (int turn = -1; turn < turns; ++turn) {
        const double a = medianTurn(ours, operations);
        const double b = medianTurn(other, operations);
        if (turn < 0) continue;
        oursTimes.push_back(a);
        otherTimes.push_back(b);
        ratios.push_back(a / b);
    }
    return {median(oursTimes), median(otherTimes), median(ratios)};
}

void reportColumns() {
    printf("%-52s %10s %10s %8s %8s\n", "", "first", "second", "ratio", "wanted");
}

void report(const std::string& what, const Comparison& comparison, double wanted) {
    printf("%-52s %10.2f %10.2f %8.2f %8.2f\n", what.c_str(), comparison.ours, comparison.other,
           comparison.ratio, wanted);
    fflush(stdout);
    if (comparison.ratio > wanted) gAllGood = false;
}

int exitStatus() {
    return gAllGood ? 0 : 1;
}

}  // namespace hidlaudio::bench
