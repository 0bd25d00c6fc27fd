// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/run_program.h"

namespace hidlaudio::test {
namespace {

/** Starts this very program, which has all that host_kernel does at a start. */
int startWith(const std::string& variable, std::string& err) {
    RunningProgram program({"/proc/self/exe", "--gtest_list_tests"}, {variable});
    const int status = program.wait();
    err = program.err();
    return status;
}

TEST(Start, RefusesWhatItCannotDo) {
    std::string err;
    for (const char* wrong :
         {"HIDLAUDIO_CLOCK=0", "HIDLAUDIO_CLOCK=-1", "HIDLAUDIO_CLOCK=50x", "HIDLAUDIO_CLOCK=1000001",
          "HIDLAUDIO_CLOCK= 5", "HIDLAUDIO_FAULT=write", "HIDLAUDIO_FAULT=write:1:EIO,nosuch:1:EIO"}) {
        EXPECT_EQ(startWith(wrong, err), 2) << wrong;
        const std::string variable = std::string(wrong).substr(0, std::string(wrong).find('='));
        EXPECT_THAT(err, testing::StartsWith(variable)) << wrong;
    }
    for (const char* right : {"HIDLAUDIO_CLOCK=", "HIDLAUDIO_CLOCK=1", "HIDLAUDIO_CLOCK=1000000",
                              "HIDLAUDIO_FAULT=", "HIDLAUDIO_FAULT=write:3:ENOSPC,read:1+:short=2"}) {
        EXPECT_EQ(startWith(right, err), 0) << right;
        EXPECT_EQ(err, "") << right;
    }
}

}  // namespace
}  // namespace hidlaudio::test
