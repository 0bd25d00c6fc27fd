// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <hidl/HidlSupport.h>

#include <functional>

#include "state_dump.h"

namespace com::tovi::dtv::hardware::audio::platform {

/**
 * Implements debug() of a service: writes the state to the first descriptor of the handle. Does nothing
 * if the handle has no descriptor. Never blocks on the reader (see writeNonBlocking): if the descriptor
 * does not accept the whole text, the rest is lost and a warning is logged.
 *
 * `options` are --help and --json. An unknown option is answered with the list of options.
 * `collect` is called only if the state is written. It must not call the middleware, the audio HAL or a
 * driver: if such a call hangs, all services hang.
 */
void writeDump(const ::android::hardware::hidl_handle& handle,
               const ::android::hardware::hidl_vec<::android::hardware::hidl_string>& options,
               const std::function<ServiceState()>& collect);

}  // namespace com::tovi::dtv::hardware::audio::platform
