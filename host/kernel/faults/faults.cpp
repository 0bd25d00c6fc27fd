// SPDX-License-Identifier: Apache-2.0
#include "faults.h"

#include <android-base/thread_annotations.h>
#include <errno.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <mutex>

#include "host/kernel/clock/clock_calls.h"
#include "host/tv_files/call_record.h"

namespace hidlaudio::host {
namespace {

/** The first calls of the table can have short reads or writes. */
constexpr size_t kMovingCalls = 4;
constexpr std::string_view kCalls[] = {"read",       "write",          "fread",           "fwrite",
                                       "open",       "fopen",          "access",          "remove",
                                       "unlink",     "close",          "fclose",          "fsync",
                                       "lseek",      "fseek",          "ioctl",           "nanosleep",
                                       "usleep",     "epoll_create",   "epoll_create1",   "epoll_ctl",
                                       "epoll_wait", "timerfd_create", "timerfd_settime", "pthread_create"};

struct CallState {
    unsigned counted = 0;
    Fault fault{};          // nth 0: no fault
    unsigned sinceSet = 0;  // calls since the fault was set
    unsigned injected = 0;
};

struct Faults {
    Faults() { clear(); }
    void clear() {
        for (CallState& state : states) {
            state = CallState{};
            state.fault.nth = 0;
        }
    }
    std::mutex mutex;
    CallState states[std::size(kCalls)] GUARDED_BY(mutex);
};

/** Never destroyed: other threads and later destructors may still make calls. */
Faults& faults() {
    static auto& instance = *new Faults;
    return instance;
}

size_t indexOf(std::string_view call) {
    return static_cast<size_t>(std::find(std::begin(kCalls), std::end(kCalls), call) - std::begin(kCalls));
}

bool strikes(const CallState& state) {
    if (state.fault.nth == 0) return false;
    return state.fault.lasting ? state.sinceSet >= state.fault.nth : state.sinceSet == state.fault.nth;
}

/**
 * Counts and records a call. Returns the fault to inject into it, or a fault that does nothing. Recording
 * under the lock keeps the record in the order of the counts.
 */
Fault strikingFault(Faults& all, size_t index, const CallOn& on) {
    const std::lock_guard lock(all.mutex);
    if (recordsCalls()) recordCall(kKernelCalls, kCalls[index], describe(on));
    CallState& state = all.states[index];
    ++state.counted;
    ++state.sinceSet;
    if (!strikes(state)) return {};
    ++state.injected;
    return state.fault;
}

void waitOnClock(uint32_t milliseconds) {
    timespec time{};
    time.tv_sec = static_cast<time_t>(milliseconds / 1000);
    time.tv_nsec = static_cast<long>(milliseconds % 1000) * 1000000;
    const int kept = errno;
    sleepOnClock(&time, nullptr);
    errno = kept;
}

}  // namespace

const std::vector<std::string>& faultableCalls() {
    static const auto& names = *new std::vector<std::string>(std::begin(kCalls), std::end(kCalls));
    return names;
}

bool injectFault(const Fault& fault) {
    const size_t call = indexOf(fault.call);
    if (call == std::size(kCalls) || fault.nth == 0) return false;
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
    all.clear();
}

unsigned countedCalls(std::string_view call) {
    const size_t index = indexOf(call);
    Faults& all = faults();
    const std::lock_guard lock(all.mutex);
    return index < std::size(kCalls) ? all.states[index].counted : 0;
}

unsigned injectedFaults(std::string_view call) {
    const size_t index = indexOf(call);
    Faults& all = faults();
    const std::lock_guard lock(all.mutex);
    return index < std::size(kCalls) ? all.states[index].injected : 0;
}

FaultVerdict countCall(std::string_view call, const CallOn& on) {
    const size_t index = indexOf(call);
    if (index == std::size(kCalls)) return {};
    const Fault fault = strikingFault(faults(), index, on);
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
