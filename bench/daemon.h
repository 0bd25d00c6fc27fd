// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <string>

namespace hidlaudio::bench {

/** Ends the program with a message. */
[[noreturn]] void die(const std::string& message);

/** A virtual TV in a temporary folder, for this process and its children. It is ready and has a controller.
 */
class BenchTv {
  public:
    BenchTv();
    ~BenchTv();
    BenchTv(const BenchTv&) = delete;
    BenchTv& operator=(const BenchTv&) = delete;

    const std::string& root() const { return root_; }

  private:
    std::string root_;
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
