// SPDX-License-Identifier: Apache-2.0
#include "injection.h"

#include <android-base/strings.h>

#include "host/audio_hal/operations.h"
#include "host/program/split_text.h"
#include "host/tv_files/back_end_files.h"
#include "host/tv_files/tv_check.h"
#include "host/tv_files/value_file.h"

namespace hidlaudio::host {
namespace {

using android::base::StartsWith;

struct CallFaults {
    std::string_view source;
    std::string_view call;  // empty: all other calls of the source
    const char* faults;
};

/** 22 s, longer than each wait of the daemon. With kSweepClock 0.9 s, far shorter than clients' time-outs. */
constexpr char kLongDelay[] = "delay=22000";

/** The first matching line applies to a call. In addition, each call is delayed once. */
constexpr CallFaults kCallFaults[] = {
    {kKernelCalls, "open", "ENOENT EACCES EMFILE ENOSPC EINTR"},
    {kKernelCalls, "fopen", "ENOENT EACCES EMFILE"},
    {kKernelCalls, "access", "ENOENT EACCES"},
    {kKernelCalls, "remove", "ENOENT EACCES EROFS"},
    {kKernelCalls, "unlink", "ENOENT EACCES EROFS"},
    {kKernelCalls, "read", "EIO EINTR short=0 short=1"},
    {kKernelCalls, "write", "ENOSPC EIO EINTR short=0 short=1"},
    {kKernelCalls, "fread", "EIO short=0 short=1"},
    {kKernelCalls, "fwrite", "ENOSPC short=1"},
    {kKernelCalls, "fsync", "EIO ENOSPC EINTR"},
    {kKernelCalls, "close", "EIO EINTR"},
    {kKernelCalls, "fclose", "EIO"},
    {kKernelCalls, "lseek", "EINVAL"},
    {kKernelCalls, "fseek", "EINVAL EIO"},
    {kKernelCalls, "ioctl", "EIO EBUSY EINTR"},
    {kKernelCalls, "nanosleep", "EINTR"},
    {kKernelCalls, "usleep", "EINTR"},
    {kKernelCalls, "epoll_create", "EMFILE ENOMEM"},
    {kKernelCalls, "epoll_create1", "EMFILE ENOMEM"},
    {kKernelCalls, "epoll_ctl", "ENOMEM ENOSPC"},
    {kKernelCalls, "epoll_wait", "EINTR"},
    {kKernelCalls, "timerfd_create", "EMFILE ENOMEM"},
    {kKernelCalls, "timerfd_settime", "EINVAL"},
    {kKernelCalls, "pthread_create", "EAGAIN"},
    {kMiddlewareCalls, "", "-1 1"},
    {kPowerCalls, "", "-5"},
    {kHalCalls, "", "1 2 3 4 dies"},
};

bool isStoredFile(const std::string& path) {
    return StartsWith(path, std::string(kStoredFiles) + "/");
}

bool isKernelCall(const RecordedCall& call) {
    return call.source == kKernelCalls;
}

}  // namespace

std::vector<std::string> faultsOf(const RecordedCall& call) {
    for (const CallFaults& line : kCallFaults) {
        if (line.source != call.source || (!line.call.empty() && line.call != call.call)) continue;
        std::vector<std::string> faults = splitWords(line.faults);
        faults.emplace_back(kLongDelay);
        // The daemon can be killed at any time. This matters only while it writes a file.
        if (isKernelCall(call) && isStoredFile(call.target)) faults.emplace_back("dies");
        return faults;
    }
    return {};
}

bool killsDaemon(const Injection& injection) {
    return isKernelCall(injection) && injection.fault == "dies";
}

std::string prepareFault(const TestTv& tv, const Injection& injection) {
    if (isKernelCall(injection))
        return injection.call + ":" + std::to_string(injection.nth) + ":" + injection.fault;
    const std::string folder = tv.root + (injection.source == kHalCalls ? kHalFaultFolder : "/soc/faults");
    // If this fails, the run reports that the fault was not injected.
    writeValueFile(folder + "/" + injection.call,
                   injection.fault + " 1 " + std::to_string(injection.nth - 1) + "\n");
    return "";
}

ToleratedViolations toleratedAfter(const Injection& injection) {
    ToleratedViolations tolerated;
    if (isStoredFile(injection.target)) tolerated.truncatedFiles.insert(injection.target);
    tolerated.unknownTransfer =
        StartsWith(injection.target, kBackEndDevice) || StartsWith(injection.target, kTransferStateFolder);
    tolerated.wakeLockHeld = injection.call == "release_wake_lock";
    return tolerated;
}

}  // namespace hidlaudio::host
