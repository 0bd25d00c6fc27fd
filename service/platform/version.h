// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace com::tovi::dtv::hardware::audio::platform {

/** Version of the daemon. CMakeLists.txt reads it from this line for the other programs. */
inline constexpr char kVersion[] = "1.0.0";

}  // namespace com::tovi::dtv::hardware::audio::platform
