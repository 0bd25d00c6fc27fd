// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "host/stress/harness/test_tv.h"
#include "host/tv_files/call_record.h"

namespace hidlaudio::host {

/** A call that the daemon or the audio HAL made during the baseline run. */
struct SweptCall : RecordedCall {
    unsigned boot = 0;  // number of the daemon's start, from 0
    unsigned nth = 1;   // number among the calls of this name since that start, from 1
};

/**
 * Returns the faults to inject into a call: errnos, statuses, "short=BYTES", "delay=MILLISECONDS", "dies".
 */
std::vector<std::string> outcomesFor(const RecordedCall& call);

/** A fault on one call. */
struct SweptFault {
    SweptCall call;
    std::string outcome;
};

/** Returns whether the fault kills the daemon. */
bool isCrash(const SweptFault& fault);

/** Returns the value of HIDLAUDIO_FAULT, or "" if the fault is set in a fault file. */
std::string faultVariable(const SweptFault& fault);

/** Writes the fault file; does nothing for a fault in HIDLAUDIO_FAULT. Returns 0, or an errno. */
int writeFaultFile(const TestTv& tv, const SweptFault& fault);

/** Returns the violations that the fault explains. */
ToleratedViolations toleratedAfter(const SweptFault& fault);

}  // namespace hidlaudio::host
