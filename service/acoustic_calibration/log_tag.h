// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace com::tovi::dtv::hardware::audio::acoustic_calibration {

/** Under which the acoustic calibration logs. */
constexpr char kLogTag[] = "AudioAC";

}  // namespace com::tovi::dtv::hardware::audio::acoustic_calibration
