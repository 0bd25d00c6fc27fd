// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "report.h"

namespace hidlaudio::host {

/**
 * Adds a file to the report, by its name for messages and its content. Returns an error message if
 * it has an unknown content, or "".
 */
std::string readReportText(const std::string& name, std::string_view content, Report& report);

/**
 * Reads the files, and all files below the folders. Log files may be of any size. Files of a folder with an
 * unknown content are ignored. Returns an error message, or "".
 */
std::string readReportFiles(const std::vector<std::string>& paths, Report& report);

}  // namespace hidlaudio::host
