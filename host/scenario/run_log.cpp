// SPDX-License-Identifier: Apache-2.0
#include "run_log.h"

#include <android-base/strings.h>

#include <fstream>
#include <map>
#include <regex>

#include "host/reports/log_line.h"

namespace hidlaudio::host {
namespace {

using android::base::StringReplace;

const std::regex& duration() {
    // With limits, because std::regex calls itself for each character and could run out of stack.
    static const std::regex pattern(R"(\d{1,18}(\.\d{1,18})?(e-\d{1,3})? (s|ms|MiB/s)\b)");
    return pattern;
}

bool isWarning(char level) {
    return level == 'W' || level == 'E' || level == 'F';
}

}  // namespace

std::string withoutVariations(const std::string& text, const std::string& folder) {
    return std::regex_replace(StringReplace(text, folder + "/tv", "", true), duration(), "some $3");
}

std::vector<std::string> warningsIn(const std::string& path, const std::string& folder) {
    std::ifstream file(path);
    std::vector<std::string> warnings;
    for (std::string line; std::getline(file, line);) {
        LogcatLine parts;
        if (!parseLogLine(line, parts)) {
            if (!line.empty()) warnings.push_back("! " + line);
        } else if (isWarning(parts.level)) {
            warnings.push_back(StringReplace(textOf(parts), folder + "/tv", "", true));
        }
    }
    return warnings;
}

std::vector<std::string> newLines(const std::vector<std::string>& lines,
                                  const std::vector<std::string>& baseline) {
    std::map<std::string, int> surplus;
    for (const std::string& line : lines) ++surplus[line];
    for (const std::string& line : baseline) --surplus[line];
    std::vector<std::string> found;
    for (const std::string& line : lines) {
        int& count = surplus[line];
        if (count > 0) found.push_back(count > 1 ? line + " (" + std::to_string(count) + " times)" : line);
        count = 0;
    }
    return found;
}

}  // namespace hidlaudio::host
