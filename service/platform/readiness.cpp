// SPDX-License-Identifier: Apache-2.0
#include "readiness.h"

#include <time.h>
#include <unistd.h>

namespace com::tovi::dtv::hardware::audio::platform {
namespace {

constexpr char kMarker[] = "/data/vendor/tmp/dtv_svc_is_ready";
constexpr long kWholeWait = 20000;      // in milliseconds
constexpr long kMillisecond = 1000000;  // in nanoseconds

void logCount(android_LogPriority priority, const char* tag, const char* text, int count) {
    if (text != nullptr) __android_log_print(priority, tag, "%s%d", text, count);
}

}  // namespace

int32_t waitForDtvSvc(const DtvSvcWait& wait) {
    const timespec interval{0, wait.interval * kMillisecond};
    for (int sleeps = 0; sleeps < kWholeWait / wait.interval; ++sleeps) {
        if (access(kMarker, F_OK) == 0) {
            logCount(ANDROID_LOG_INFO, wait.tag, wait.ready, sleeps);
            return 0;
        }
        logCount(ANDROID_LOG_DEBUG, wait.tag, wait.waiting, sleeps);
        nanosleep(&interval, nullptr);
    }
    __android_log_write(wait.timeoutPriority, wait.tag, wait.timeout);
    return wait.timeoutResult;
}

}  // namespace com::tovi::dtv::hardware::audio::platform
