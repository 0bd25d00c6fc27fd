// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <iterator>
#include <string>
#include <string_view>

#include "host/reports/make_scenario.h"
#include "host/reports/report_files.h"
#include "input.h"

namespace {

using namespace hidlaudio::host;  // NOLINT: names of the tested code
using namespace hidlaudio::fuzz;  // NOLINT: names of the fuzz support

constexpr std::string_view kSeparator = "==> ";

/** Removes the next file from the input: "==> NAME", a newline and the content. */
std::string_view takeFile(std::string_view& input, std::string& name) {
    if (input.substr(0, kSeparator.size()) == kSeparator) {
        const size_t end = std::min(input.find('\n'), input.size());
        name = input.substr(kSeparator.size(), end - kSeparator.size());
        input.remove_prefix(std::min(end + 1, input.size()));
    }
    const size_t next = input.find("\n==> ");
    const std::string_view content = input.substr(0, next == input.npos ? next : next + 1);
    input.remove_prefix(content.size());
    return content;
}

/** Requires that each line is one of those that a scenario may have, and stays inside of the TV. */
void checkLines(std::string_view text) {
    constexpr std::string_view kStarts[] = {"# ", "tv ", "file /", "client ", "kill ", "await "};
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        require(std::any_of(std::begin(kStarts), std::end(kStarts), [line](std::string_view start) {
            return line.substr(0, start.size()) == start;
        }));
        require(line.substr(0, 5) != "file " || line.find("..") == line.npos);
    }
}

}  // namespace

/** Makes a scenario from a report. Input: files, each after a line "==> NAME", or one log. */
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string_view input(reinterpret_cast<const char*>(data), size);
    Report report;
    std::string name = "log.txt";
    while (!input.empty()) {
        const std::string_view content = takeFile(input, name);
        (void)readReportText(name, content, report);
    }
    MadeScenario scenario;
    const std::string problem = makeScenario(report, scenario);
    require(problem.empty() == !scenario.text.empty());
    checkLines(scenario.text);
    return 0;
}
