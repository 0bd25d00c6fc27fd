// SPDX-License-Identifier: Apache-2.0
#include "readiness.h"

#include <android/log.h>
#include <stddef.h>
#include <time.h>
#include <unistd.h>

#include "log.h"

namespace com::tovi::dtv::hardware::audio::platform {
namespace {

constexpr char kMarker[] = "/data/vendor/tmp/dtv_svc_is_ready";
constexpr long kWholeWait = 20000;      // in milliseconds
constexpr long kMillisecond = 1000000;  // in nanoseconds

/** One caller's wait. Where a text is null, its message is not logged. */
struct Wait {
    const char* tag;
    long interval;        // between two tries, in milliseconds
    const char* waiting;  // the number of sleeps so far follows
    const char* ready;    // so it does here
    int32_t timeoutResult;
    android_LogPriority timeoutPriority;
    const char* timeout;
};

constexpr char kWaiting[] = "<<<<<hidlaudio waiting dtv_svc>>>>> count:";
constexpr char kReady[] = "<<<<<hidlaudio dtv_svc is ready !>>>>> count:";
constexpr char kTimeout[] = "dtv_svc rpc server failed.";

/** In the order of WaitingService; the two of the functions follow. */
constexpr Wait kWaits[] = {
    {"hdmiaudio", 100, "<<<<<hdmiaudio waiting dtv_svc>>>>> count:", nullptr, -1, ANDROID_LOG_DEBUG,
     kTimeout},
    {kNoTag, 10, kWaiting, nullptr, -1, ANDROID_LOG_DEBUG, kTimeout},
    {"AudioOutSp", 10, kWaiting, nullptr, -1, ANDROID_LOG_DEBUG, kTimeout},
    {kNoTag, 10, kWaiting, kReady, -1, ANDROID_LOG_ERROR,
     "[CenterSpeaker] dtv_svc rpc server failed [TimeOut]."},
    {"AudioAC", 10, nullptr, kReady, -1, ANDROID_LOG_ERROR,
     "[checkDtvSvcBoot] dtv_svc rpc server failed [TimeOut]."},
    {"AudioHV", 10, nullptr, "[checkDtvSvcBootForHV] <<<<<hidlaudio dtv_svc is ready !>>>>> count:", -5,
     ANDROID_LOG_ERROR, "[checkDtvSvcBootForHV] dtv_svc rpc server failed [TimeOut]."},
};
constexpr const Wait& kCalibrationWait = kWaits[4];
constexpr const Wait& kVirtualizerWait = kWaits[5];

void logCount(android_LogPriority priority, const char* tag, const char* text, int count) {
    if (text != nullptr) __android_log_print(priority, tag, "%s%d", text, count);
}

int32_t run(const Wait& wait) {
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

}  // namespace

bool waitForDtvSvc(WaitingService service) {
    return run(kWaits[static_cast<size_t>(service)]) == 0;
}

int32_t checkDtvSvcBoot() {
    return run(kCalibrationWait);
}

int32_t checkDtvSvcBootForHV() {
    return run(kVirtualizerWait);
}

}  // namespace com::tovi::dtv::hardware::audio::platform
