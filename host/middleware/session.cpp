// SPDX-License-Identifier: Apache-2.0
#include "session.h"

#include <log/log.h>

#include <atomic>

#include "injected_fault.h"
#include "platform/soc_middleware.h"
#include "status.h"

namespace hidlaudio::host {
namespace {

std::atomic<bool> connected{false};

int32_t connectUnlessFaulty(const char* function) {
    if (const auto status = injectedStatus(function)) return *status;
    connected = true;
    return kDone;
}

}  // namespace

bool isConnected() {
    return connected;
}

extern "C" {

int32_t IMtkPb_Ctrl_Init(void) {
    return injectedStatus("IMtkPb_Ctrl_Init").value_or(kDone);
}

int32_t MTAL_InitExCb(void* callback) {
    if (callback != nullptr) {
        ALOGE("MTAL_InitExCb: the callback must be null");
        return kBadArgument;
    }
    return connectUnlessFaulty("MTAL_InitExCb");
}

int32_t DRV_Init(void) {
    return injectedStatus("DRV_Init").value_or(kDone);
}

int32_t MTAL_Init(void) {
    return connectUnlessFaulty("MTAL_Init");
}

}  // extern "C"

}  // namespace hidlaudio::host
