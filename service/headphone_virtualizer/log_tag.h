// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace com::tovi::dtv::hardware::audio::V5_1::implementation {

/** The tag of all that this room logs. */
constexpr char kLogTag[] = "AudioHV";

}  // namespace com::tovi::dtv::hardware::audio::V5_1::implementation
