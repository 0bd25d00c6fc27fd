// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "host/reports/make_scenario.h"
#include "host/reports/report_files.h"

namespace hidlaudio::test {

/** Files of a report: their names and contents. */
using Files = std::vector<std::pair<std::string, std::string>>;

struct Made {
    std::string problem;
    host::MadeScenario scenario;
    std::vector<std::string> warnings;
};

inline Made makeFrom(const Files& files) {
    Made made;
    host::Report report;
    for (const auto& [name, content] : files) {
        made.problem = readReportText(name, content, report);
        if (!made.problem.empty()) return made;
    }
    made.problem = makeScenario(report, made.scenario);
    made.warnings = report.warnings;
    return made;
}

/** Returns a log of the process, with the lines "TAG: text" or "THREAD TAG: text", one per millisecond. */
inline std::string logOf(const std::vector<std::string>& lines, int process = 600, int second = 2) {
    std::string log;
    int millisecond = 0;
    for (const std::string& line : lines) {
        const bool hasThread = line[0] >= '0' && line[0] <= '9';
        const std::string thread = hasThread ? line.substr(0, line.find(' ')) : std::to_string(process);
        char header[64];
        snprintf(header, sizeof(header), "11-26 13:02:%02d.%03d %5d %5s D ", second, millisecond++, process,
                 thread.c_str());
        log += header + (hasThread ? line.substr(line.find(' ') + 1) : line) + "\n";
    }
    return log;
}

/** Returns the lines of the scenario that follow its first `tv boot`. */
inline std::string afterBoot(const Made& made) {
    EXPECT_EQ(made.problem, "");
    const std::string boot = "tv boot\n";
    const size_t start = made.scenario.text.find(boot);
    return start == std::string::npos ? made.scenario.text : made.scenario.text.substr(start + boot.size());
}

/** Returns the lines of the scenario from `tv init` to its first `tv boot`, without that. */
inline std::string beforeBoot(const Made& made) {
    EXPECT_EQ(made.problem, "");
    const size_t begin = made.scenario.text.find("tv init");
    return made.scenario.text.substr(begin, made.scenario.text.find("tv boot") - begin);
}

constexpr char kStart[] = "HidlAudio: ########## HIDL server side: main() is called:";

}  // namespace hidlaudio::test
