// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <errno.h>

#include "faults.h"

namespace hidlaudio::host {

/** Makes a call, or returns `failure` with the fault's errno if a fault makes it fail. */
template <typename Result, typename Call>
Result unlessFaulty(std::string_view name, const CallOn& on, Result failure, Call call) {
    const FaultVerdict verdict = countCall(name, on);
    if (verdict.error == 0) return call();
    errno = verdict.error;
    return failure;
}

}  // namespace hidlaudio::host
