// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace com::tovi::dtv::hardware::audio::hdmi_audio {

constexpr char kLogTag[] = "hdmiaudio";

}  // namespace com::tovi::dtv::hardware::audio::hdmi_audio
