// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace com::tovi::dtv::hardware::audio::headphone_virtualizer {

constexpr char kLogTag[] = "AudioHV";

}  // namespace com::tovi::dtv::hardware::audio::headphone_virtualizer
