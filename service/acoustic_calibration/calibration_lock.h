// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/thread_annotations.h>

#include <mutex>

namespace com::tovi::dtv::hardware::audio::acoustic_calibration {

/**
 * Guards the smooth delay, the order in which calibrations are sent to the TV and the offset
 * that the audio HAL is to know. Held over short calls of the middleware, never over a wait,
 * the HAL or a client. The locks of the files may be taken under it.
 */
inline std::mutex calibrationLock;

}  // namespace com::tovi::dtv::hardware::audio::acoustic_calibration
