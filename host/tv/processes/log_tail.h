// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include <string>
#include <vector>

namespace hidlaudio::host {

/** The logs of the TV's programs, followed from where they ended when it was made, or from their start. */
class LogTail {
  public:
    enum class From { Start, End };
    explicit LogTail(From from);

    /** Prints what has come since the last time to standard output. False if nobody reads that any more. */
    bool print();

    /** The last `count` lines that have come since it was made, of all logs one after the other. */
    std::string lastLines(size_t count) const;

    /** Whether any program has a log yet. */
    bool anyLog() const;

    /** Why a log that is there cannot be read; empty if all can. */
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
