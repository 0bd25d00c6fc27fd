// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>

namespace hidlaudio::client {

/** A progress bar on the terminal that standard error is; nothing where it is none. On one thread. */
class Progress {
  public:
    explicit Progress(size_t total);
    /** Takes the bar away. */
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void show(size_t done);

  private:
    size_t total_;
    unsigned percent_ = 101;  // as shown; 101: nothing is
    bool onTerminal_;
};

}  // namespace hidlaudio::client
