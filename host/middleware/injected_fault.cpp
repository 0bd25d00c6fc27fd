// SPDX-License-Identifier: Apache-2.0
#include "injected_fault.h"

#include <log/log.h>
#include <string.h>

#include "host/tv_files/call_record.h"
#include "host/tv_files/fault_file.h"
#include "host/tv_files/tv_root.h"
#include "status.h"

namespace hidlaudio::host {

std::optional<int32_t> injectedStatus(const char* function, const char* on) {
    recordCall(kMiddlewareCalls, function, on);
    const std::string folder = tvRoot() + "/soc/faults";
    std::optional<int32_t> status;
    const int error = injectFault(folder, function, status);
    if (error == 0) return status;
    ALOGE("%s/%s is not a valid fault (STATUS, STATUS COUNT, or STATUS COUNT PASS): %s", folder.c_str(),
          function, strerror(error));
    return kFailed;
}

}  // namespace hidlaudio::host
