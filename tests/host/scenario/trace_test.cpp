// SPDX-License-Identifier: Apache-2.0
#include "host/scenario/trace.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "tests/support/private_tv.h"

namespace hidlaudio::host {
namespace {

/** "1a 1b 2a" is a trace of the lines a and b of lane 1 and the line a of lane 2. */
Trace traceOf(const std::string& text) {
    Trace trace;
    std::istringstream words(text);
    for (std::string word; words >> word;) trace.push_back({word.substr(0, 1), word.substr(1)});
    return trace;
}

struct Case {
    const char* given;
    const char* actual;
    int givenIndex;  // of the difference; -1 if the traces are the same
    int actualIndex = 0;
};

TEST(Trace, FirstDifferenceIsFound) {
    const Case cases[] = {
        {"1a 1b", "7a 7b", -1},
        {"1a 1b", "1a", 1, 1},
        {"1a", "1a 1b", 1, 1},
        {"1a 1b 1c", "1a 1x 1c", 1, 1},
        {"1a 1b 1c", "1b 1a 1c", 0, 0},      // the order in a lane counts
        {"1a 2x 1b 2y", "1a 1b 2x 2y", -1},  // that of two lanes does not
        {"1a 1x 1b 1y", "1a 2x 1b 2y", -1},  // the calls of one thread were made on two
        {"1a 2a 2b 1c", "5a 6a 6b 5c", -1},  // equal lines of two lanes
        {"1a 2a 1c 2b", "5a 6a 6b 5c", -1},
        {"1a 2x 1b 2y", "1a 2x 1c 2y", 2, 2},
    };
    for (const Case& each : cases) {
        const auto found = firstDifference(traceOf(each.given), traceOf(each.actual));
        EXPECT_EQ(found ? static_cast<int>(found->given) : -1, each.givenIndex)
            << each.given << ", " << each.actual;
        const Difference difference = found.value_or(Difference{});
        EXPECT_EQ(static_cast<int>(difference.actual), each.actualIndex) << each.given << ", " << each.actual;
    }
}

TEST(Trace, LogsAreReadInEachFormatAndWithLinesOfAnyLength) {
    const std::string rest(2000000, '7');
    const std::string texts[] = {
        "11-26 16:00:00.250  5  5 D tag     : at 0x7f0012345678, " + rest + "\nmore\n",
        "D/tag     ( 5): at 0x7f0087654321, " + rest + "\nmore\n"};
    const test::PrivateFolder folder;
    const std::string path = folder / "log";
    for (const std::string& text : texts) {
        std::ofstream(path) << "no line of a log\n" << text;
        Trace trace;
        EXPECT_EQ(readLogTrace(path, trace), "");
        ASSERT_EQ(trace.size(), 1U);
        EXPECT_EQ(trace[0].lane, "5 5");
        EXPECT_EQ(trace[0].text, "D tag: at ADDRESS, " + rest + "\nmore");
    }
}

TEST(Trace, LogThatBeginsLateIsComparedFromItsFirstLine) {
    const Trace run{{"1", "D HidlAudio: ## HIDL server side: main() is called:"}, {"1", "a"}, {"1", "b"}};
    Trace actual = run;
    skipStart({{"7", "b"}}, actual);
    EXPECT_EQ(actual.size(), 1U);
    for (const Trace& given : {run, Trace{{"1", "x"}}}) {
        actual = run;
        skipStart(given, actual);
        EXPECT_EQ(actual.size(), run.size());
    }
}

}  // namespace
}  // namespace hidlaudio::host
