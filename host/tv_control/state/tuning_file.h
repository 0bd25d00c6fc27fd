// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace hidlaudio::host {

/**
 * Returns the content of an acoustic tuning file, which on a TV another component writes. It has plausible
 * values in the fields that the daemon reads, and zeros elsewhere.
 */
std::string makeTuningFile();

}  // namespace hidlaudio::host
