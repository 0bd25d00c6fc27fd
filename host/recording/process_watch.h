// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/unique_fd.h>
#include <sys/types.h>

#include <map>
#include <string>

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
    std::map<pid_t, android::base::unique_fd> running_;  // descriptors of the processes; -1 if one has ended
};

}  // namespace hidlaudio::host
