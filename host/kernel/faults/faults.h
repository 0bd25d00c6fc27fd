// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <string>
#include <string_view>

#include "calls.h"
#include "host/tv_files/fault_file.h"

namespace hidlaudio::host {

/**
 * A fault in the program's own system calls. Counted calls are those on the virtual TV's files, and all
 * sleep, thread, timer and epoll calls. A call that the compiler renames (open64, __read_chk) counts under
 * its plain name, and creat counts as open. Each name has at most one fault at a time. All functions may be
 * called from any thread.
 *
 * A call that is made to fail does nothing, except that close and fclose still close, as on Linux. Counted
 * calls are written to the call record (host/tv_files/call_record.h).
 */
struct Fault {
    std::string call;         // "write"; see kFaultableCalls
    unsigned nth = 1;         // 1 for the next call of that name
    int error = 0;            // errno of the failed call; 0: the call does not fail
    bool lasting = false;     // whether the fault applies to all calls from the n-th on
    size_t bytes = SIZE_MAX;  // maximum of a short read, write, fread or fwrite
    uint32_t delay = 0;       // delay of the call in milliseconds of the program's clock
    bool dies = false;        // the process is killed when it makes the call
};

/**
 * Sets a fault, which replaces the fault of the same call. Returns false without a change if the call is not
 * one of kFaultableCalls, if `nth` is 0, if the fault has no effect, or if only `bytes` is set and the call
 * is not read, write, fread or fwrite.
 */
[[nodiscard]] bool injectFault(const Fault& fault);

/**
 * From now on, the calls of this program also have the faults in the TV's folder kCallFaultFolder, which
 * `tv fault` writes. A call that has a fault of injectFault() does not consume a use of its stored fault. An
 * empty `root` ends this. Call it while the process has one thread.
 */
void useStoredFaults(const std::string& root);

/** Returns the fault of one call with the effect of a valid fault file on a system call. */
Fault effectOf(const FaultSetting& setting);

/** Removes all faults and resets all counts to 0. */
void clearFaults();

/** Returns how often the call was made since the start or the last clearFaults(). */
unsigned countedCalls(std::string_view call);

/** Returns how often the current fault of the call was injected. */
unsigned injectedFaults(std::string_view call);

/**
 * Sets the faults in a text such as "write:3:ENOSPC,read:1+:short=2,usleep:1:4". Each fault is
 * CALL:N[+]:OUTCOME; a comma separates two faults. '+' makes a fault lasting. OUTCOME is the name or number
 * of an errno, short=BYTES, delay=MILLISECONDS or dies. Returns an empty string, or an error message; the
 * faults before the wrong one are set even then.
 */
std::string injectFaults(std::string_view text);

/**
 * Sets a fault for the lifetime of the object. A test can let each call of a scenario fail:
 *
 *     for (unsigned n = 1;; ++n) {
 *         const ScopedFault fault({"write", n, ENOSPC});
 *         scenario();
 *         if (!fault.injected()) break;
 *     }
 */
class ScopedFault {
  public:
    /** Aborts the process with a message if injectFault() refuses the fault. */
    explicit ScopedFault(const Fault& fault);
    ~ScopedFault();
    ScopedFault(const ScopedFault&) = delete;
    ScopedFault& operator=(const ScopedFault&) = delete;

    bool injected() const { return injectedFaults(call_) > 0; }

  private:
    std::string call_;
};

/** Effect of a fault on one call: error 0 means that the call is made, with at most `bytes` bytes. */
struct FaultVerdict {
    int error = 0;
    size_t bytes = SIZE_MAX;
};

/** Object of a call, as written to the record: a path, or else a descriptor; then a number if it is not 0. */
struct CallOn {
    const char* path = nullptr;
    int fd = -1;
    long number = 0;
};

/** Counts and records a call, and injects a delay or the death of the process. For wrapped calls only. */
FaultVerdict countCall(std::string_view call, const CallOn& on);

/** Returns the text for the record. Does not change errno. */
std::string describe(const CallOn& on);

}  // namespace hidlaudio::host
