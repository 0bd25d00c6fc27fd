// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace com::tovi::dtv::hardware::audio::acoustic_calibration {

constexpr char kLogTag[] = "AudioAC";

}  // namespace com::tovi::dtv::hardware::audio::acoustic_calibration
