// SPDX-License-Identifier: Apache-2.0
#include "run_log.h"

#include <fstream>
#include <map>
#include <regex>

namespace hidlaudio::host {
namespace {

/** Matches a log line. Groups: priority; tag and text. */
const std::regex& threadtime() {
    static const std::regex pattern(R"(^\d\d-\d\d \d\d:\d\d:\d\d\.\d+ +\d+ +\d+ ([VDIWEF]) (.*)$)");
    return pattern;
}

const std::regex& duration() {
    static const std::regex pattern(R"(\d+(\.\d+)?(e-\d+)? (s|ms|MiB/s)\b)");
    return pattern;
}

std::string replaceAll(std::string text, const std::string& before, const std::string& after) {
    for (size_t at = text.find(before); at != std::string::npos; at = text.find(before, at + after.size()))
        text.replace(at, before.size(), after);
    return text;
}

bool isWarning(const std::string& priority) {
    return priority == "W" || priority == "E" || priority == "F";
}

}  // namespace

std::string withoutVariations(const std::string& text, const std::string& folder) {
    return std::regex_replace(replaceAll(text, folder + "/tv", ""), duration(), "some $3");
}

std::vector<std::string> warningsIn(const std::string& path, const std::string& folder) {
    std::ifstream file(path);
    std::vector<std::string> warnings;
    for (std::string line; std::getline(file, line);) {
        std::smatch parts;
        if (!std::regex_match(line, parts, threadtime())) {
            if (!line.empty()) warnings.push_back("! " + line);
        } else if (isWarning(parts[1])) {
            warnings.push_back(parts[1].str() + " " + replaceAll(parts[2], folder + "/tv", ""));
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
