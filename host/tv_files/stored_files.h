// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace hidlaudio::host {

/** The folder of the daemon's persisted files, below the TV's root. */
constexpr char kStoredFiles[] = "/data/vendor/tovi/hidlaudio";

}  // namespace hidlaudio::host
