// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace hidlaudio::host {

/**
 * The acoustic tuning file of a TV model, as another component of the TV writes it:
 * plausible values in all that the daemon reads of it, zero elsewhere.
 */
std::string makeTuningFile();

}  // namespace hidlaudio::host
