// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>

namespace hidlaudio::client {

/** A progress bar on standard error; does nothing if that is not a terminal. Not thread-safe. */
class Progress {
  public:
    explicit Progress(size_t total);
    /** Erases the bar. */
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void show(size_t done);

  private:
    size_t total_;
    unsigned percent_ = 101;  // last value shown; 101 if there is none
    bool onTerminal_;
};

}  // namespace hidlaudio::client
