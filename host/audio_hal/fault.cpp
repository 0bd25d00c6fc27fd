// SPDX-License-Identifier: Apache-2.0
#include "fault.h"

#include <errno.h>
#include <log/log.h>
#include <string.h>

#include "host/tv_files/call_record.h"
#include "host/tv_files/fault_file.h"
#include "host/tv_files/tv_root.h"
#include "operations.h"

namespace hidlaudio::host {

using android::hardware::audio::V5_0::Result;

std::optional<Result> injectedResult(const char* operation, const char* on) {
    recordCall(kHalCalls, operation, on);
    const std::string folder = tvRoot() + kHalFaultFolder;
    std::optional<int32_t> status;
    const int error = injectFault(folder, operation, status);
    if (error == 0 && !status) return std::nullopt;
    if (error != 0 || !status || !isHalResult(*status)) {
        ALOGE("%s/%s is not a valid fault (RESULT from 0 to 4, RESULT COUNT, or RESULT COUNT PASS): %s",
              folder.c_str(), operation, strerror(error != 0 ? error : ERANGE));
        return Result::INVALID_STATE;
    }
    ALOGW("%s returns %s because of a fault setting", operation, std::string(kHalResults[*status]).c_str());
    return static_cast<Result>(*status);
}

}  // namespace hidlaudio::host
