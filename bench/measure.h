// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace hidlaudio::bench {

/** Ends the program with a message and status 2. */
[[noreturn]] void die(const std::string& message);

/** Ends the program if a call has failed. */
inline void check(bool good) {
    if (!good) die("a call failed");
}

/** Pins the calling thread to one processor. Does nothing for -1. */
void pin(int processor);

/** Returns the monotonic time in microseconds. */
double nowMicroseconds();

double median(std::vector<double> values);

/** Result of comparing two operations, which run in turns so that both see the same load. */
struct Comparison {
    double ours;   // median, microseconds per operation
    double other;  // median, microseconds per operation
    double ratio;  // median of the turns' ratios
};

/** Runs one operation and returns its duration in microseconds. */
using TimedOperation = std::function<double()>;

/** Returns `operation` with a measurement of its whole duration. */
TimedOperation timed(std::function<void()> operation);

/** Runs both in `turns` turns of `operations` operations each, after a warm-up turn. */
Comparison compare(const TimedOperation& ours, const TimedOperation& other, int turns, int operations);

/** Prints the names of the columns of report(). */
void reportColumns();

/** Prints one row: name, both values, ratio, and `wanted`, the highest ratio that is good enough. */
void report(const std::string& what, const Comparison& comparison, double wanted);

/** Returns the exit status of a benchmark: 0 if all reported ratios are good enough, or else 1. */
int exitStatus();

}  // namespace hidlaudio::bench
