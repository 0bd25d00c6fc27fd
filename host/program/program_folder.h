// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace hidlaudio::host {

/** The folder of this process's program, in which the other programs lie, too. Empty if unknown. */
std::string programFolder();

}  // namespace hidlaudio::host
