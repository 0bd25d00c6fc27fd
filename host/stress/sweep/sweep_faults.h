// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "host/stress/harness/test_tv.h"
#include "host/tv_files/call_record.h"

namespace hidlaudio::host {

/** A call that the daemon made, or that was made for it, in an untouched run. */
struct SweptCall : RecordedCall {
    unsigned boot = 0;  // since which start of the daemon it is counted
    unsigned nth = 1;   // among those of its name
};

/** The outcomes that are tried on a call: errnos, statuses, "short=BYTES", "delay=MILLISECONDS", "dies". */
std::vector<std::string> outcomesFor(const RecordedCall& call);

/** One of them on one call. */
struct SweptFault {
    SweptCall call;
    std::string outcome;
};

/** The daemon is meant to end at this call. */
bool isCrash(const SweptFault& fault);

/** The value of HIDLAUDIO_FAULT for it; empty where it is set in a file. */
std::string faultVariable(const SweptFault& fault);

/** Writes the fault's file where it is set in one. Returns 0, or an errno. */
int writeFaultFile(const TestTv& tv, const SweptFault& fault);

/** What such a fault may leave behind. */
ToleratedViolations toleratedAfter(const SweptFault& fault);

}  // namespace hidlaudio::host
