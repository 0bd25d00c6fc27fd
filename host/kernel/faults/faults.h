// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <string>
#include <string_view>
#include <vector>

namespace hidlaudio::host {

/**
 * Faults in the program's own system calls. Counted are the calls that go to the
 * virtual TV's files, and every sleep, thread, timer and epoll call; a call that
 * the compiler renames (open64, __read_chk) counts under its plain name, and creat
 * as open. Each name has at most one fault at a time. Any thread.
 *
 * A call that is made to fail does nothing, but close and fclose close all the
 * same, as Linux's do. Counted calls go into the call record (host/root/call_record.h).
 */
struct Fault {
    std::string call;         // "write"; see faultableCalls()
    unsigned nth = 1;         // 1 for the next call of that name
    int error = 0;            // the errno it fails with; 0: what follows
    bool lasting = false;     // whether all calls from the n-th on are concerned
    size_t bytes = SIZE_MAX;  // of a short read, write, fread or fwrite: the most it moves
    uint32_t delay = 0;       // it works, so many milliseconds of the program's clock later
    bool dies = false;        // the process is killed as it makes the call
};

/** The names of the calls that can be made to fail. */
const std::vector<std::string>& faultableCalls();

/**
 * Sets a fault in place of the one of the same call. False for a name that is none
 * of faultableCalls(), for an nth of 0, for no fault at all, and for a short call of one
 * that moves no bytes; nothing changes then.
 */
[[nodiscard]] bool injectFault(const Fault& fault);

/** Takes all faults away and counts from 0 again. */
void clearFaults();

/** How often a call was made since the start or the last clearFaults(). */
unsigned countedCalls(std::string_view call);

/** How often the fault that was last set on a call has injected. */
unsigned injectedFaults(std::string_view call);

/**
 * Sets the faults of a text such as "write:3:ENOSPC,read:1+:short=2,usleep:1:4":
 * CALL:N[+]:OUTCOME, separated by commas, '+' for a lasting one; OUTCOME is an errno,
 * short=BYTES, delay=MILLISECONDS or dies. Returns an empty string, or what is wrong with the text; the
 * faults before the wrong one are set then.
 */
std::string injectFaults(std::string_view text);

/**
 * A fault for the length of a scope. A test sweeps with it:
 *
 *     for (unsigned n = 1;; ++n) {
 *         const ScopedFault fault({"write", n, ENOSPC});
 *         scenario();
 *         if (!fault.injected()) break;
 *     }
 */
class ScopedFault {
  public:
    /** Ends the process with a message for a fault that injectFault refuses. */
    explicit ScopedFault(const Fault& fault);
    ~ScopedFault();
    ScopedFault(const ScopedFault&) = delete;
    ScopedFault& operator=(const ScopedFault&) = delete;

    bool injected() const { return injectedFaults(call_) > 0; }

  private:
    std::string call_;
};

/** What the fault on this very call asks for. */
struct FaultVerdict {
    int error = 0;
    size_t bytes = SIZE_MAX;
};

/** What a call is about, for the record: a path, else a descriptor, else a number. */
struct CallOn {
    const char* path = nullptr;
    int fd = -1;
    long number = 0;
};

/** Counts and records a call, and lets it wait or die; for the wrapped calls alone. */
FaultVerdict countCall(std::string_view call, const CallOn& on);

/** The words in the record for it. Keeps errno. */
std::string describe(const CallOn& on);

}  // namespace hidlaudio::host
