// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/thread_annotations.h>

#include <mutex>

namespace com::tovi::dtv::hardware::audio::platform {

/**
 * Held over each call of the vendor's middleware, whose libraries promise nothing about threads.
 * Never held over anything else that can wait. Services take their own lock first.
 */
inline std::mutex middlewareLock;

}  // namespace com::tovi::dtv::hardware::audio::platform
