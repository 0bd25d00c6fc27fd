// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "command_tree.h"

namespace hidlaudio::manual {

/**
 * A function file that completes the program's command line in zsh, with the help of each
 * command and option.
 */
std::string zshCompletion(const Command& root);

}  // namespace hidlaudio::manual
