// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/unique_fd.h>
#include <sys/types.h>

#include <map>
#include <string>

#include "record_line.h"
#include "record_tail.h"

namespace hidlaudio::host {

/** Reads a record while it is written. */
class RecordFollower {
  public:
    struct Tasks {
        bool prints = false;   // whether the lines are printed to standard output
        bool watches = false;  // whether a line is added when a process of the record ends
    };
    RecordFollower(const std::string& record, RecordTail::From from, const Tasks& tasks)
        : record_(record), tail_(record, from), tasks_(tasks) {}

    /** Returns 0 if the record can be read, or the errno. */
    int error() const { return tail_.error(); }

    /** Handles the new lines. Returns false if they cannot be printed. */
    bool follow();

    size_t calls() const { return calls_; }

    /** Returns the note with which the recorder has ended the record, or "". */
    const std::string& note() const { return note_; }

  private:
    void watchProcess(pid_t process);
    void addExits();

    const std::string record_;
    RecordTail tail_;
    const Tasks tasks_;
    std::map<pid_t, android::base::unique_fd> running_;  // pidfds; -1 if the process had ended already
    size_t calls_ = 0;
    std::string note_;
};

}  // namespace hidlaudio::host
