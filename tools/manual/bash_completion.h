// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "command_tree.h"

namespace hidlaudio::manual {

/**
 * A script that completes the program's command line in bash 4.4 or later, without the
 * helpers of the bash-completion package.
 */
std::string bashCompletion(const Command& root);

}  // namespace hidlaudio::manual
