// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/thread_annotations.h>

#include <mutex>

namespace com::tovi::dtv::hardware::audio::acoustic_calibration {

/**
 * Guards the smooth delay, the order in which calibrations are sent to the TV, and the offset that is
 * reported to the audio HAL. Held during short calls of the middleware, but not during a wait or a call to
 * the HAL or a client. A thread that holds it may take the lock of a file.
 */
inline std::mutex calibrationLock;

}  // namespace com::tovi::dtv::hardware::audio::acoustic_calibration
