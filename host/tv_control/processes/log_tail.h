// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include <string>
#include <vector>

namespace hidlaudio::host {

/** Follows the logs of the TV's programs, either from their start or from their end at construction. */
class LogTail {
  public:
    enum class From { Start, End };
    explicit LogTail(From from);

    /**
     * Prints new log content to standard output. Returns false if the output cannot be written or has no
     * reader.
     */
    bool print();

    /** Returns the last `count` lines of each log, one log after the other, from the initial position on. */
    std::string lastLines(size_t count) const;

    /** Returns whether any of the logs exists. */
    bool anyLog() const;

    /** Returns an error message if an existing log cannot be read, or "". */
    std::string problem() const;

  private:
    struct File {
        std::string path;
        int64_t start = 0;
        int64_t printed = 0;
    };
    std::vector<File> files_;
};

}  // namespace hidlaudio::host
