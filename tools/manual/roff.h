// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace hidlaudio::manual {

/**
 * Text that troff shows as it is, in the user's own characters: hyphens, quotes, carets
 * and tildes as they are typed, so that a command can be copied from the page. Without a
 * line's first dot, which only the line knows to be first.
 */
std::string escaped(const std::string& text);

/** The text, UTF-8, in bold; in italics. */
std::string bold(const std::string& text);
std::string italic(const std::string& text);

/** A request's argument, in quotes. */
std::string quoted(const std::string& text);

/** Prose on lines of at most 78 bytes, what lies in backticks in bold. Ends with a newline. */
std::string prose(const std::string& text);

/**
 * A help text: paragraphs, and lines indented by two spaces or more, which are shown as
 * they are. Each paragraph begins with a request.
 */
std::string paragraphs(const std::string& text);

}  // namespace hidlaudio::manual
