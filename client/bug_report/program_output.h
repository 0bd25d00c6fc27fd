// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>

#include <string>
#include <string_view>
#include <vector>

namespace hidlaudio::client {

/**
 * Runs a program and stores its standard output in `output`. The first word of `command` is a path, or a name
 * that is looked up in PATH. The program is killed after `seconds`. Returns an empty string, or an error
 * message if the program cannot be run, does not end in time or fails.
 */
std::string runProgram(const std::vector<std::string>& command, double seconds, std::string& output);

/** Returns the last lines of a text, at most `most`. */
std::vector<std::string> lastLines(std::string_view text, size_t most);

}  // namespace hidlaudio::client
