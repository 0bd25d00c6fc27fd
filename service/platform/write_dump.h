// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <hidl/HidlSupport.h>

#include <functional>

#include "state_dump.h"

namespace com::tovi::dtv::hardware::audio::platform {

/**
 * Does what a service's debug() is to do: writes the state, in the form that the options
 * ask for, to the first descriptor of the handle. Does nothing where there is none.
 * Never waits for the one who reads (writeNonBlocking); what is lost by that is logged.
 *
 * `options` are --help and --json; another one is answered with what there is.
 * `collect` runs only where the state is to be written. It must not wait: no middleware,
 * no audio HAL, no driver, since one call that hangs holds up all services.
 */
void writeDump(const ::android::hardware::hidl_handle& handle,
               const ::android::hardware::hidl_vec<::android::hardware::hidl_string>& options,
               const std::function<ServiceState()>& collect);

}  // namespace com::tovi::dtv::hardware::audio::platform
