// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace hidlaudio::host {

/** A period on a lane. Times are seconds since the start of the record. */
struct Bar {
    enum class Kind { Call, OutgoingCall, Wait, Upload };
    /** Lost: the daemon ended before the answer. */
    enum class Outcome { Done, Failed, Lost };

    Kind kind = Kind::Call;
    Outcome outcome = Outcome::Done;
    double begin = 0;
    double end = 0;
    size_t depth = 0;  // number of bars of the lane that enclose it
    std::string name;
    nlohmann::ordered_json details;
};

/** Something that happens to a lane's process: "started", "ended", or a note of the recorder. */
struct Mark {
    double time = 0;
    std::string name;
};

/** A client, a thread of the daemon, or the uploads of a daemon. */
struct Lane {
    std::string name;
    std::string processName;
    pid_t process = 0;
    pid_t thread = 0;
    std::vector<Bar> bars;
    std::vector<Mark> marks;
};

struct Timeline {
    std::vector<Lane> lanes;  // clients, then threads and uploads of each daemon
    double end = 0;           // time of the last line
};

/** Reads a record. Returns an error message with the file and the line, or "". */
std::string readTimeline(const std::string& path, Timeline& timeline);

/** Removes the bars and marks outside of the time from `from` to `to`, and lanes without any. */
void cutTimeline(Timeline& timeline, double from, double to);

/** Returns a picture of the time from `from` to `to`. */
std::string drawTimeline(const Timeline& timeline, double from, double to);

/** Returns the timeline as a trace file for viewers such as chrome://tracing. */
std::string traceOfTimeline(const Timeline& timeline);

}  // namespace hidlaudio::host
