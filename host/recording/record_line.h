// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>
#include <sys/types.h>

#include <nlohmann/json.hpp>
#include <string>

namespace hidlaudio::host {

/** A line of a record (docs/recording.md). Members that an event does not have keep their values. */
struct RecordLine {
    enum class Event { Start, Process, Call, Answer, Exit, Note };

    Event event = Event::Note;
    double time = 0;                   // seconds since the kernel was started
    uint64_t id = 0;                   // Call, Answer
    pid_t process = 0;                 // Start: the recorded one; Process, Exit
    std::string program;               // Start; Process, if it is known
    std::string date;                  // Start
    pid_t thread = 0;                  // Call
    bool isIncoming = false;           // Call
    pid_t client = 0;                  // Call, if it is incoming
    std::string interface;             // Call
    std::string method;                // Call
    nlohmann::ordered_json arguments;  // Call; null if they are unknown
    double duration = -1;              // Answer; -1 if the call has failed
    nlohmann::ordered_json results;    // Answer; null if they are unknown
    std::string text;                  // Note
};

/** Parses a line. Returns an error message, or "". */
std::string parseRecordLine(const std::string& text, RecordLine& line);

/** Returns the line about a process that has ended, with its newline. */
std::string exitLine(pid_t process);

/** Returns the seconds since the kernel was started. */
double recordTime();

}  // namespace hidlaudio::host
