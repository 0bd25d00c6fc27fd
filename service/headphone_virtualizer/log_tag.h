// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace com::tovi::dtv::hardware::audio::headphone_virtualizer {

/** The tag of all that this room logs. */
constexpr char kLogTag[] = "AudioHV";

}  // namespace com::tovi::dtv::hardware::audio::headphone_virtualizer
