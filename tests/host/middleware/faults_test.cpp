// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <chrono>

#include "host/kernel/log.h"
#include "platform/soc_middleware.h"
#include "tests/support/private_tv.h"

namespace hidlaudio::test {
namespace {

constexpr char kAnyKey[] = "key";

class MiddlewareFaults : public testing::Test {
  protected:
    MiddlewareFaults() {
        makeFile(tv_ / "soc/config/key", "5\n");
        EXPECT_EQ(MTAL_Init(), 0);
    }

    std::string fileOf(const std::string& function) const { return tv_ / "soc/faults/" + function; }

    PrivateTv tv_{"soc/config", "soc/faults"};
    host::LogCapture log_;
};

TEST_F(MiddlewareFaults, FaultKeepsStoreAndWritesGarbageToOutput) {
    makeFile(fileOf("a_mtktvapi_config_get_value"), "-1 1\n");
    makeFile(fileOf("a_mtktvapi_config_set_value"), "0 1\n");
    int32_t value = -1;
    EXPECT_EQ(a_mtktvapi_config_get_value(-1, kAnyKey, &value), -1);
    EXPECT_NE(value, -1);
    EXPECT_NE(value, 5);
    // An injected status of 0 reports success, but nothing is written.
    EXPECT_EQ(a_mtktvapi_config_set_value(-1, kAnyKey, 6, 7), 0);
    EXPECT_EQ(contentOf(tv_ / "soc/config/key"), "5\n");
}

TEST_F(MiddlewareFaults, DamagedFaultFileFailsCall) {
    for (const char* text : {"", "x", "1 0", "1 -1", "1 x", "1 2 -1", "1 2 3 4", "5000000000",
                             "delay=", "delay=-1", "delay=1 0", "dies 0"}) {
        makeFile(fileOf("DRV_Init"), text);
        EXPECT_NE(DRV_Init(), 0) << text;
        EXPECT_EQ(contentOf(fileOf("DRV_Init")), text) << "the damaged file is kept";
        const auto lines = log_.take();
        ASSERT_EQ(lines.size(), 1U) << text;
        EXPECT_THAT(lines[0].text, testing::HasSubstr(fileOf("DRV_Init")));
    }
}

TEST_F(MiddlewareFaults, FaultFailsOrDelaysCallsAsOftenAsSet) {
    const std::pair<const char*, std::vector<int32_t>> faults[] = {
        {"-1 2 2\n", {0, 0, -1, -1, 0}}, {"-17 2\n", {-17, -17, 0, 0, 0}}, {"3", {3, 3, 3, 3, 3}}};
    for (const auto& [fault, expected] : faults) {
        makeFile(fileOf("DRV_Init"), fault);
        std::vector<int32_t> statuses;
        for (int i = 0; i < 5; ++i) statuses.push_back(DRV_Init());
        EXPECT_EQ(statuses, expected) << fault;
    }

    setenv("HIDLAUDIO_CLOCK", "1000", 1);
    makeFile(fileOf("MTAL_Init"), "delay=20000 1 1\n");
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(MTAL_Init(), 0);
    EXPECT_EQ(contentOf(fileOf("MTAL_Init")), "delay=20000 1\n");
    EXPECT_EQ(MTAL_Init(), 0) << "the delayed call works";
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(20));
    EXPECT_EQ(contentOf(fileOf("MTAL_Init")), "(none)");
    unsetenv("HIDLAUDIO_CLOCK");
}

}  // namespace
}  // namespace hidlaudio::test
