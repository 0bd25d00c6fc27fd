// SPDX-License-Identifier: Apache-2.0
#include <android/log.h>
#include <errno.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <regex>
#include <sstream>

namespace hidlaudio::test {
namespace {

TEST(Log, IsPrintedAsLogcatDoes) {
    testing::internal::CaptureStderr();
    errno = ESTALE;
    __android_log_print(ANDROID_LOG_DEBUG, "HidlAudio", "value %d", 5);
    __android_log_print(ANDROID_LOG_ERROR, "AV", "ends its line\n");
    __android_log_print(ANDROID_LOG_INFO, nullptr, "first\nsecond");
    __android_log_write(ANDROID_LOG_VERBOSE, "V", std::string(3000, 'x').c_str());
    EXPECT_EQ(errno, ESTALE);
    std::istringstream output(testing::internal::GetCapturedStderr());

    const std::regex format(R"(\d\d-\d\d \d\d:\d\d:\d\d\.\d\d\d +(\d+) +(\d+) (.*))");
    std::vector<std::string> lines;
    for (std::string line; std::getline(output, line);) {
        std::smatch match;
        ASSERT_TRUE(std::regex_match(line, match, format)) << line;
        EXPECT_EQ(std::stoi(match[1]), getpid());
        EXPECT_EQ(std::stoi(match[2]), gettid());
        lines.push_back(match[3]);
    }
    EXPECT_THAT(lines, testing::ElementsAre("D HidlAudio: value 5", "E AV      : ends its line",
                                            "I kernel_test: first", "I kernel_test: second",
                                            "V V       : " + std::string(3000, 'x')));
}

}  // namespace
}  // namespace hidlaudio::test
