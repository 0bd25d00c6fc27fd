// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "command_tree.h"

namespace hidlaudio::manual {

/** What a page says of itself. */
struct PageTitle {
    std::string section;  // "1"
    std::string date;     // "2025-11-24"
    std::string source;   // "hidlaudio 1.0.0"
};

/**
 * The manual page of a program, in roff: its options, each command with its arguments,
 * the exit statuses that the root's notes list below "Exit status:". `end` is roff that
 * comes last: the sections that no tree knows.
 */
std::string manPage(const Command& root, const PageTitle& title, const std::string& end);

}  // namespace hidlaudio::manual
