// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <com/tovi/test/bench/1.0/IBench.h>
#include <sys/types.h>

namespace hidlaudio::bench {

/**
 * Call it at the start of main(). In a process that BenchService has started, it never returns.
 *
 * @param registerMore registers further services with the same instance name
 */
void serveIfAsked(int argc, char** argv, bool (*registerMore)(const char* instance) = nullptr);

/** A process on `processor` that serves IBench as `instance`, on one thread like the daemon. */
class BenchService {
  public:
    BenchService(const char* instance, int processor);
    ~BenchService();
    BenchService(const BenchService&) = delete;
    BenchService& operator=(const BenchService&) = delete;

    const android::sp<com::tovi::test::bench::V1_0::IBench>& proxy() const { return proxy_; }

  private:
    pid_t server_ = -1;
    android::sp<com::tovi::test::bench::V1_0::IBench> proxy_;
};

}  // namespace hidlaudio::bench
