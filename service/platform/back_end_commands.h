// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "back_end_record.h"

namespace com::tovi::dtv::hardware::audio::platform {

/** Sends a command to the back-end audio controller. Returns the middleware's status. Any thread. */
int32_t sendToBackEnd(const bectrl_cust_spec_record& record);

}  // namespace com::tovi::dtv::hardware::audio::platform
