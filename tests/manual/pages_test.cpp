// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>

#include "tests/support/run_program.h"

namespace hidlaudio::test {
namespace {

const std::string kManual = std::string(MANUAL_FOLDER) + "/";

bool isInstalled(const std::string& program) {
    return runProgram({"/bin/sh", "-c", "command -v " + program}).status == 0;
}

/** The pages that were made; the tools that read them tell what is wrong with them. */
class Page : public testing::TestWithParam<const char*> {};

TEST_P(Page, IsReadByGroffWithoutWarning) {
    if (!isInstalled("groff")) GTEST_SKIP() << "groff is not installed";
    const Outcome outcome =
        runProgram({"/usr/bin/groff", "-man", "-Tutf8", "-ww", "-P-cbou", kManual + GetParam()});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
    EXPECT_THAT(outcome.out, testing::HasSubstr("SYNOPSIS"));
}

TEST_P(Page, IsReadByMandocWithoutWarning) {
    if (!isInstalled("mandoc")) GTEST_SKIP() << "mandoc is not installed";
    const Outcome outcome = runProgram({"/usr/bin/mandoc", "-Tlint", kManual + GetParam()});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out + outcome.err, "");
}

INSTANTIATE_TEST_SUITE_P(Manual, Page, testing::Values("audioctl.1", "tv.1", "hidlaudio.8", "audio_hal.8"));

}  // namespace
}  // namespace hidlaudio::test
