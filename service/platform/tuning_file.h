// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace com::tovi::dtv::hardware::audio::platform {

/** The model's acoustic tuning file. Another component of the TV writes it. */
constexpr char kTuningFile[] = "/data/vendor/tmp/recipe/aqda.bin";

}  // namespace com::tovi::dtv::hardware::audio::platform
