// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <map>
#include <string>

#include "host/program/owned_descriptor.h"
#include "record_line.h"

namespace hidlaudio::host {

/** Adds a line to a record when one of its processes ends. */
class ProcessWatch {
  public:
    explicit ProcessWatch(const std::string& record) : record_(record) {}

    /** Watches the process that the line is about. */
    void see(const RecordLine& line);

    /** Adds the lines of the processes that have ended since the last call. */
    void check();

  private:
    std::string record_;
    std::map<pid_t, OwnedDescriptor> running_;  // pidfds; -1 if the process had ended already
};

}  // namespace hidlaudio::host
