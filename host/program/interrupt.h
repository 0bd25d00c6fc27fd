// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <signal.h>
#include <time.h>

namespace hidlaudio::host {

/**
 * Blocks SIGINT, SIGTERM, SIGHUP and SIGPIPE while the object lives, so that the process can clean up before
 * it ends. For single-threaded processes only.
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

    /**
     * Waits up to `milliseconds` (below 1000) for one of the signals. Returns true as soon as one is pending.
     */
    bool cameWithin(long milliseconds) const {
        const timespec time{0, milliseconds * 1000000};
        return sigtimedwait(&signals_, nullptr, &time) > 0;
    }

  private:
    sigset_t signals_{};
    sigset_t before_{};
};

}  // namespace hidlaudio::host
