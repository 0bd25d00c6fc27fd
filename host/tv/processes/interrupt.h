// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <signal.h>
#include <time.h>

namespace hidlaudio::host {

/**
 * Ctrl-C, a request to end, a closed terminal and an output that nobody reads, kept
 * from ending the process for as long as the object lives, so that it can clean up.
 * For a process with one thread.
 */
class Interrupt {
  public:
    Interrupt() {
        sigemptyset(&signals_);
        for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) sigaddset(&signals_, signal);
        sigprocmask(SIG_BLOCK, &signals_, &before_);
    }
    ~Interrupt() { sigprocmask(SIG_SETMASK, &before_, nullptr); }
    Interrupt(const Interrupt&) = delete;
    Interrupt& operator=(const Interrupt&) = delete;

    /** Waits up to `milliseconds` (below 1000); true at once when one of them has come. */
    bool cameWithin(long milliseconds) const {
        const timespec time{0, milliseconds * 1000000};
        return sigtimedwait(&signals_, nullptr, &time) > 0;
    }

  private:
    sigset_t signals_{};
    sigset_t before_{};
};

}  // namespace hidlaudio::host
