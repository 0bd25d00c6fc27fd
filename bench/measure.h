// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace hidlaudio::bench {

/** Pins the calling process to one processor; -1 leaves it free. */
void pin(int processor);

/** Microseconds on the monotonic clock. */
double nowMicroseconds();

double median(std::vector<double> values);

/** Two ways to do the same, measured in turns so that both see the same machine. */
struct Comparison {
    double ours;   // median, microseconds an operation
    double other;  // median, microseconds an operation
    double ratio;  // median of the turns' ratios
};

/** How long one operation took, in microseconds. */
using TimedOperation = std::function<double()>;

/** An operation that is timed as a whole. */
TimedOperation timed(std::function<void()> operation);

/** Runs both in `turns` turns of `operations` each, after a turn that is not counted. */
Comparison compare(const TimedOperation& ours, const TimedOperation& other, int turns, int operations);

/** One row of the report: what, the figures, and the ratio that is wanted at most. */
void report(const std::string& what, const Comparison& comparison, double wanted);

}  // namespace hidlaudio::bench
