// SPDX-License-Identifier: Apache-2.0
#include "back_end_commands.h"

#include "soc_middleware.h"

namespace com::tovi::dtv::hardware::audio::platform {

int32_t sendToBackEnd(const bectrl_cust_spec_record& record) {
    const std::lock_guard lock(middlewareLock);
    return MTDRVCUST_dcustom_cust_spec_set(kBeCtrlSetIdentifier, &record, sizeof(record), 0);
}

}  // namespace com::tovi::dtv::hardware::audio::platform
