// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "scenario_run.h"

namespace hidlaudio::host {

/** A line of a daemon's log, or the answer to a call, without times and addresses. */
struct TraceLine {
    std::string lane;  // the thread or client. The lines of one lane have a fixed order
    std::string text;
};

using Trace = std::vector<TraceLine>;

/**
 * Reads the lines of a daemon's log in a format of logcat, without times and addresses. Lines of another form
 * continue the line before them. Returns an error message, or "".
 */
std::string readLogTrace(const std::string& path, Trace& trace);

/** Reads the answers of a record (docs/recording.md), as of answersOf(). Returns an error message, or "". */
std::string readRecordTrace(const std::string& path, Trace& trace);

/** Returns whether the file is a record, by its first character. */
bool isRecord(const std::string& path);

/** Returns the answers to the calls of a scenario's clients and the calls to their callbacks. */
Trace answersOf(const Scenario& scenario, const RunResult& result);

/** Adds a line to the trace of a log for each crash among the violations of a run, as a TV logs it. */
void addCrashes(const std::vector<std::string>& problems, Trace& trace);

/**
 * If the given log begins after the start of the daemon, removes the lines of the run before the first one
 * that equals the first given line.
 */
void skipStart(const Trace& given, Trace& actual);

/** The first difference of two traces. */
struct Difference {
    size_t given = 0;   // index of the line without equal, or the number of lines
    size_t actual = 0;  // index of the first line that no given line equals, or the number of lines
};

/**
 * Compares two traces. The lines of different lanes may be in any order, and lanes may have other names.
 * Returns `std::nullopt` if the traces are the same.
 */
std::optional<Difference> firstDifference(const Trace& given, const Trace& actual);

}  // namespace hidlaudio::host
