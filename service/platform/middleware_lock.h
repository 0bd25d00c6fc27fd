// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/thread_annotations.h>

#include <mutex>

namespace com::tovi::dtv::hardware::audio::platform {

/**
 * Held during each call of the vendor's middleware, whose libraries are not documented as thread-safe.
 * Not held during any other call that can block. A service that needs its own lock takes that lock first.
 */
inline std::mutex middlewareLock;

}  // namespace com::tovi::dtv::hardware::audio::platform
