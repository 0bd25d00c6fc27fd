// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include "temporary_tv.h"

namespace hidlaudio::bench {

/** A virtual TV of `tv init`: ready, with a controller, and without a manifest of its services. */
class BenchTv : public TemporaryTv {
  public:
    BenchTv();
};

/** The daemon of the TV, without log, pinned to a processor; -1: any. The destructor kills it. */
class Daemon {
  public:
    /** Returns when its services are registered. */
    explicit Daemon(int processor);
    ~Daemon();
    Daemon(const Daemon&) = delete;
    Daemon& operator=(const Daemon&) = delete;

  private:
    pid_t pid_;
};

}  // namespace hidlaudio::bench
