// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace hidlaudio::host {

/** What a program printed, without that which differs from run to run: durations, and the run's folder. */
std::string withoutChance(const std::string& text, const std::string& folder);

/**
 * The warnings and errors in a log, as "W tag: text"; a line that is none of the log's
 * format, such as a sanitizer's report, as "! text".
 */
std::vector<std::string> troublesIn(const std::string& path, const std::string& folder);

/** The lines that are in `lines` more often than in `usual`, each once: with "(3 times)" if it is so many. */
std::vector<std::string> newLines(const std::vector<std::string>& lines,
                                  const std::vector<std::string>& usual);

}  // namespace hidlaudio::host
