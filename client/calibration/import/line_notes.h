// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>

#include <string>
#include <vector>

namespace hidlaudio::client {

/** Collects messages about the lines of a text. */
class LineNotes {
  public:
    /** Adds a message. Lines are numbered from 1 and must be added in ascending order. */
    void add(size_t line, const std::string& reason);

    /** Returns one message per run of lines with the same reason: "lines 5 to 14: the filter is off". */
    std::vector<std::string> messages() const;

  private:
    struct Run {
        size_t first, last;
        std::string reason;
    };
    std::vector<Run> runs_;
};

}  // namespace hidlaudio::client
