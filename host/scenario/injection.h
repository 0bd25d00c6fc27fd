// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "host/scenario/harness/test_tv.h"
#include "host/tv_files/call_record.h"

namespace hidlaudio::host {

/** A call that the daemon or the audio HAL made during the baseline run. */
struct SweptCall : RecordedCall {
    unsigned boot = 0;  // number of the daemon's start, from 0
    unsigned nth = 1;   // number among the calls of this name since that start, from 1
};

/** A call and the fault to inject into it, as in the table of faults. */
struct Injection : SweptCall {
    std::string fault;
};

/** Returns the faults of a call: errnos, statuses, "short=BYTES", "delay=MILLISECONDS", "dies". */
std::vector<std::string> faultsOf(const RecordedCall& call);

/** Returns whether the fault kills the daemon. */
bool killsDaemon(const Injection& injection);

/** Prepares the fault: writes a fault file, or returns the value of HIDLAUDIO_FAULT for the next daemon. */
std::string prepareFault(const TestTv& tv, const Injection& injection);

/** Returns the violations that the fault explains. */
ToleratedViolations toleratedAfter(const Injection& injection);

}  // namespace hidlaudio::host
