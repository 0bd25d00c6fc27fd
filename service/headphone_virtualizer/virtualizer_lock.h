// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/thread_annotations.h>

#include <mutex>

namespace com::tovi::dtv::hardware::audio::headphone_virtualizer {

/**
 * Guards the switches, both parameter slots and the state of their uploads. Held during short calls of the
 * middleware and the driver, but not during a wait or a call to a client: a client may call the service
 * from inside its callback, and that call is served on the transfer thread.
 */
inline std::mutex virtualizerLock;

}  // namespace com::tovi::dtv::hardware::audio::headphone_virtualizer
