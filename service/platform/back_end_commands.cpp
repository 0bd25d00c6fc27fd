// SPDX-License-Identifier: Apache-2.0
#include "back_end_commands.h"

#include "soc_middleware.h"

namespace com::tovi::dtv::hardware::audio::platform {
namespace {

constexpr uint32_t kSetIdentifier = 0x20185;
constexpr uint32_t kGetIdentifier = 0x20186;

}  // namespace

int32_t sendToBackEnd(const bectrl_cust_spec_record& record) {
    const std::lock_guard lock(middlewareLock);
    return MTDRVCUST_dcustom_cust_spec_set(kSetIdentifier, &record, sizeof(record), 0);
}

int32_t queryBackEnd(bectrl_cust_spec_record& record) {
    uint32_t size = sizeof(record);
    const std::lock_guard lock(middlewareLock);
    return MTDRVCUST_dcustom_cust_spec_get(kGetIdentifier, &record, &size);
}

}  // namespace com::tovi::dtv::hardware::audio::platform
