// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace com::tovi::dtv::hardware::audio::V3_1::implementation {

constexpr char kLogTag[] = "hdmiaudio";

}  // namespace com::tovi::dtv::hardware::audio::V3_1::implementation
