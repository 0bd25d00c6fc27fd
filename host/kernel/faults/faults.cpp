// SPDX-License-Identifier: Apache-2.0
#include "faults.h"

#include <android-base/thread_annotations.h>
#include <android/log.h>
#include <errno.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <mutex>
#include <optional>

#include "host/kernel/clock/clock_calls.h"
#include "host/tv_files/call_record.h"
#include "host/tv_files/fault_file.h"

namespace hidlaudio::host {
namespace {

constexpr char kFaultTag[] = "kernel";

struct CallState {
    unsigned counted = 0;
    Fault fault{"", 0};     // nth 0: no fault
    unsigned sinceSet = 0;  // calls since the fault was set
    unsigned injected = 0;
};

struct Faults {
    std::mutex mutex;
    CallState states[std::size(kFaultableCalls)] GUARDED_BY(mutex);
};

/** The folder of the TV's fault files. Empty if they do not apply to this program's calls. */
std::string& storedFaultFolder() {
    static auto& folder = *new std::string;
    return folder;
}

/** Never destroyed: other threads and later destructors may still make calls. */
Faults& faults() {
    static auto& instance = *new Faults;
    return instance;
}

size_t indexOf(std::string_view call) {
    return static_cast<size_t>(std::find(std::begin(kFaultableCalls), std::end(kFaultableCalls), call) -
                               std::begin(kFaultableCalls));
}

bool strikes(const CallState& state) {
    if (state.fault.nth == 0) return false;
    return state.fault.lasting ? state.sinceSet >= state.fault.nth : state.sinceSet == state.fault.nth;
}

/**
 * Counts and records a call. Returns the fault to inject into it, or `std::nullopt`. Recording under the lock
 * keeps the record in the order of the counts.
 */
std::optional<Fault> strikingFault(Faults& all, size_t index, const CallOn& on) {
    const std::lock_guard lock(all.mutex);
    if (recordsCalls()) recordCall(kKernelCalls, kFaultableCalls[index], describe(on));
    CallState& state = all.states[index];
    ++state.counted;
    ++state.sinceSet;
    if (!strikes(state)) return std::nullopt;
    ++state.injected;
    return state.fault;
}

/** Consumes one use of the fault file on a call. An invalid file makes the call fail. */
Fault storedFault(size_t index) {
    const std::string& folder = storedFaultFolder();
    if (folder.empty()) return {};
    const int kept = errno;
    std::optional<FaultSetting> setting;
    const int error = takeFault(folder, kFaultableCalls[index], parseCallFault, setting);
    errno = kept;
    if (error == 0) {
        if (!setting) return {};
        if (setting->kind != FaultKind::Shortens || index < kMovingCalls) return effectOf(*setting);
    }
    const std::string path = folder + "/" + kFaultableCalls[index];
    __android_log_print(ANDROID_LOG_ERROR, kFaultTag, "%s is not a valid fault: %s", path.c_str(),
                        strerror(error != 0 ? error : EINVAL));
    return {"", 1, EIO};
}

unsigned countOf(std::string_view call, unsigned CallState::* count) {
    const size_t index = indexOf(call);
    Faults& all = faults();
    const std::lock_guard lock(all.mutex);
    return index < std::size(kFaultableCalls) ? all.states[index].*count : 0;
}

void waitOnClock(uint32_t milliseconds) {
    const timespec time = toTimespec(std::chrono::milliseconds(milliseconds));
    const int kept = errno;
    sleepOnClock(&time, nullptr);
    errno = kept;
}

}  // namespace

void useStoredFaults(const std::string& root) {
    storedFaultFolder() = root.empty() ? "" : root + kCallFaultFolder;
}

Fault effectOf(const FaultSetting& setting) {
    Fault fault;
    if (setting.kind == FaultKind::Fails) fault.error = setting.status;
    if (setting.kind == FaultKind::Shortens) fault.bytes = static_cast<size_t>(setting.bytes);
    fault.delay = static_cast<uint32_t>(setting.delay);
    fault.dies = setting.kind == FaultKind::Dies;
    return fault;
}

bool injectFault(const Fault& fault) {
    const size_t call = indexOf(fault.call);
    if (call == std::size(kFaultableCalls) || fault.nth == 0) return false;
    const bool moves = call < kMovingCalls;
    if (fault.error == 0 && fault.delay == 0 && !fault.dies && (!moves || fault.bytes == SIZE_MAX))
        return false;
    Faults& all = faults();
    const std::lock_guard lock(all.mutex);
    CallState& state = all.states[call];
    state.fault = fault;
    state.sinceSet = 0;
    state.injected = 0;
    return true;
}

void clearFaults() {
    Faults& all = faults();
    const std::lock_guard lock(all.mutex);
    for (CallState& state : all.states) state = {};
}

unsigned countedCalls(std::string_view call) {
    return countOf(call, &CallState::counted);
}

unsigned injectedFaults(std::string_view call) {
    return countOf(call, &CallState::injected);
}

FaultVerdict countCall(std::string_view call, const CallOn& on) {
    const size_t index = indexOf(call);
    if (index == std::size(kFaultableCalls)) return {};
    const std::optional<Fault> striking = strikingFault(faults(), index, on);
    const Fault fault = striking ? *striking : storedFault(index);
    if (fault.dies) kill(getpid(), SIGKILL);
    if (fault.delay != 0) waitOnClock(fault.delay);
    return {fault.error, fault.error == 0 ? fault.bytes : SIZE_MAX};
}

ScopedFault::ScopedFault(const Fault& fault) : call_(fault.call) {
    if (injectFault(fault)) return;
    fprintf(stderr, "invalid fault: %s, call %u, errno %d\n", fault.call.c_str(), fault.nth, fault.error);
    abort();
}

ScopedFault::~ScopedFault() {
    Faults& all = faults();
    const std::lock_guard lock(all.mutex);
    all.states[indexOf(call_)].fault.nth = 0;
}

}  // namespace hidlaudio::host
