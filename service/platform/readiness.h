// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android/log.h>
#include <stdint.h>

namespace com::tovi::dtv::hardware::audio::platform {

/**
 * How a caller waits for the TV platform service (dtv_svc), which creates a marker file once it
 * answers the middleware. A message whose text is null is not logged.
 */
struct DtvSvcWait {
    const char* tag;
    long interval;        // between two checks for the marker, in milliseconds
    const char* waiting;  // logged before each sleep; the number of sleeps so far is appended
    const char* ready;    // logged at the end; the number of sleeps is appended
    int32_t timeoutResult;
    android_LogPriority timeoutPriority;
    const char* timeout;
};

/** Texts that several callers log. */
constexpr char kDtvSvcWaiting[] = "<<<<<hidlaudio waiting dtv_svc>>>>> count:";
constexpr char kDtvSvcReady[] = "<<<<<hidlaudio dtv_svc is ready !>>>>> count:";
constexpr char kDtvSvcTimeout[] = "dtv_svc rpc server failed.";

/**
 * Waits until the TV platform service is ready, 20 s at most. Returns at once if the marker exists.
 * Any thread that holds no lock.
 *
 * @return 0, or `wait.timeoutResult` after a time-out
 */
int32_t waitForDtvSvc(const DtvSvcWait& wait);

}  // namespace com::tovi::dtv::hardware::audio::platform
