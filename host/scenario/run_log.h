// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace hidlaudio::host {

/** Returns the output of a program without durations and the run's folder, which differ between runs. */
std::string withoutVariations(const std::string& text, const std::string& folder);

/**
 * Returns the warnings and errors of a log as "W tag: text". A line that is not in log format, such as a
 * sanitizer's report, becomes "! text".
 */
std::vector<std::string> warningsIn(const std::string& path, const std::string& folder);

/**
 * Returns the lines that `lines` contains more often than `baseline`, without duplicates. The surplus is
 * appended if it exceeds 1: "text (3 times)".
 */
std::vector<std::string> newLines(const std::vector<std::string>& lines,
                                  const std::vector<std::string>& baseline);

}  // namespace hidlaudio::host
