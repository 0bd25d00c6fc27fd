// SPDX-License-Identifier: Apache-2.0
#include "sweep_faults.h"

#include <algorithm>
#include <iterator>
#include <sstream>

#include "host/audio_hal/operations.h"
#include "host/tv_files/back_end_files.h"
#include "host/tv_files/stored_files.h"
#include "host/tv_files/value_file.h"

namespace hidlaudio::host {
namespace {

struct Outcomes {
    std::string_view source;
    std::string_view call;  // empty: all other calls of the source
    const char* outcomes;
};

/** 22 s, longer than each wait of the daemon. With kSweepClock 0.9 s, far shorter than clients' time-outs. */
constexpr char kLate[] = "delay=22000";

/** The first matching line applies to a call. In addition, each call is delayed once. */
constexpr Outcomes kOutcomes[] = {
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

constexpr char kDevice[] = "/dev/tovi_bectrl";

bool startsWith(const std::string& text, const std::string& start) {
    return text.compare(0, start.size(), start) == 0;
}

bool isStoredFile(const std::string& path) {
    return startsWith(path, std::string(kStoredFiles) + "/");
}

bool isKernelCall(const RecordedCall& call) {
    return call.source == kKernelCalls;
}

}  // namespace

std::vector<std::string> outcomesFor(const RecordedCall& call) {
    const auto* const fitting =
        std::find_if(std::begin(kOutcomes), std::end(kOutcomes), [&call](const Outcomes& line) {
            return line.source == call.source && (line.call.empty() || line.call == call.name);
        });
    if (fitting == std::end(kOutcomes)) return {};
    std::istringstream words(fitting->outcomes);
    std::vector<std::string> outcomes;
    for (std::string word; words >> word;) outcomes.push_back(word);
    outcomes.emplace_back(kLate);
    // The daemon can be killed at any time. This matters only while it writes a file.
    if (isKernelCall(call) && isStoredFile(call.target)) outcomes.emplace_back("dies");
    return outcomes;
}

bool isCrash(const SweptFault& fault) {
    return isKernelCall(fault.call) && fault.outcome == "dies";
}

std::string faultVariable(const SweptFault& fault) {
    if (!isKernelCall(fault.call)) return "";
    return fault.call.name + ":" + std::to_string(fault.call.nth) + ":" + fault.outcome;
}

int writeFaultFile(const TestTv& tv, const SweptFault& fault) {
    if (isKernelCall(fault.call)) return 0;
    const bool isHal = fault.call.source == kHalCalls;
    const std::string folder = tv.root + (isHal ? kHalFaultFolder : "/soc/faults");
    return writeValueFile(folder + "/" + fault.call.name,
                          fault.outcome + " 1 " + std::to_string(fault.call.nth - 1) + "\n");
}

ToleratedViolations toleratedAfter(const SweptFault& fault) {
    const std::string& target = fault.call.target;
    ToleratedViolations tolerated;
    if (isStoredFile(target)) tolerated.cutOff.insert(target);
    tolerated.unknownTransfer = startsWith(target, kDevice) || startsWith(target, kTransferStateFolder);
    tolerated.wakeLockKept = fault.call.name == "release_wake_lock";
    return tolerated;
}

}  // namespace hidlaudio::host
