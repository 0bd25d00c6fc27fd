// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace hidlaudio::host {

constexpr char kLogTag[] = "AudioHal";

}  // namespace hidlaudio::host
