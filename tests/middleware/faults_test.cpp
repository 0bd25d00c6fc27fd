// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <chrono>
#include <functional>
#include <thread>

#include "host/kernel/log.h"
#include "host/middleware/custom_spec.h"
#include "host/middleware/functions.h"
#include "platform/soc_middleware.h"
#include "tests/support/private_tv.h"

namespace hidlaudio::test {
namespace {

constexpr char kKey[] = "key";

/** A working call of each function that a fault can be set on. */
std::map<std::string_view, std::function<int32_t()>> workingCalls() {
    return {{"IMtkPb_Ctrl_Init", [] { return IMtkPb_Ctrl_Init(); }},
            {"MTAL_InitExCb", [] { return MTAL_InitExCb(nullptr); }},
            {"DRV_Init", [] { return DRV_Init(); }},
            {"MTAL_Init", [] { return MTAL_Init(); }},
            {"a_mtktvapi_config_get_value",
             [] {
                 int32_t value = 0;
                 return a_mtktvapi_config_get_value(-1, kKey, &value);
             }},
            {"a_mtktvapi_config_set_value", [] { return a_mtktvapi_config_set_value(-1, kKey, 5, 7); }},
            {"MTAUDDEC_GetChannelMainDelaySp",
             [] {
                 uint32_t delay = 0;
                 return MTAUDDEC_GetChannelMainDelaySp(&delay);
             }},
            {"MTAUDDEC_Set32EqualizerBandConfig",
             [] {
                 const float gains[32]{};
                 return MTAUDDEC_Set32EqualizerBandConfig(gains);
             }},
            {"MTAUDDEC_SetAcVolumeOffset", [] { return MTAUDDEC_SetAcVolumeOffset(5); }},
            {"MTAUDPOST_GetParameters",
             [] {
                 uint32_t answer = 0;
                 return MTAUDPOST_GetParameters({0x42, 1, &answer, {}});
             }},
            {"MTDRVCUST_dcustom_cust_spec_get",
             [] {
                 host::CustomSpecRecord record{21, {}, 1, {}};
                 uint32_t size = sizeof(record);
                 return MTDRVCUST_dcustom_cust_spec_get(0x20186, &record, &size);
             }},
            {"MTDRVCUST_dcustom_cust_spec_set",
             [] {
                 const host::CustomSpecRecord record{32, {1}, 1, {}};
                 return MTDRVCUST_dcustom_cust_spec_set(0x20185, &record, sizeof(record), 0);
             }},
            {"MTEEPROM_GetProperty",
             [] {
                 MTEEPROM_Property property{};
                 return MTEEPROM_GetProperty(&property);
             }},
            {"MTEEPROM_Init", [] { return MTEEPROM_Init(); }},
            {"MTEEPROM_Read", [] {
                 char byte = 0;
                 return MTEEPROM_Read(0, &byte, 1);
             }}};
}

class MiddlewareFaults : public testing::Test {
  protected:
    MiddlewareFaults() {
        makeFile(tv_ / "soc/bectrl/boot_state", "1\n");
        makeFile(tv_ / "soc/config/key", "5\n");
        makeFile(tv_ / "soc/audio_decoder/channel_main_delay_sp", "5\n");
        makeFile(tv_ / "soc/audio_post/ready", "5\n");
        makeFile(tv_ / "soc/eeprom.bin", "5");
        EXPECT_EQ(MTAL_Init(), 0);
    }

    std::string fileOf(std::string_view function) const {
        return tv_ / "soc/faults/" + std::string(function);
    }

    PrivateTv tv_{"soc/config", "soc/faults"};
    host::LogCapture log_;
};

TEST_F(MiddlewareFaults, AreReturnedAsOftenAsSet) {
    auto calls = workingCalls();
    for (const std::string_view function : host::kMiddlewareFunctions) {
        ASSERT_EQ(calls.count(function), 1U) << function << " has no call here";
        const auto& call = calls.at(function);
        EXPECT_EQ(call(), 0) << function;
        makeFile(fileOf(function), "-17 2\n");
        EXPECT_EQ(call(), -17) << function;
        EXPECT_EQ(contentOf(fileOf(function)), "-17 1\n") << function;
        EXPECT_EQ(call(), -17) << function;
        EXPECT_EQ(contentOf(fileOf(function)), "(none)") << function;
        EXPECT_EQ(call(), 0) << function;
        makeFile(fileOf(function), "3");
        for (int i = 0; i < 3; ++i) EXPECT_EQ(call(), 3) << function;
        std::filesystem::remove(fileOf(function));
        EXPECT_EQ(call(), 0) << function;
    }
    EXPECT_THAT(log_.lines(), testing::IsEmpty());
}

TEST_F(MiddlewareFaults, LeaveTheStoreAloneAndGarbageInTheDestination) {
    makeFile(fileOf("a_mtktvapi_config_get_value"), "-1 1\n");
    makeFile(fileOf("a_mtktvapi_config_set_value"), "0 1\n");
    int32_t value = -1;
    EXPECT_EQ(a_mtktvapi_config_get_value(-1, kKey, &value), -1);
    EXPECT_NE(value, -1);
    EXPECT_NE(value, 5);
    // A status of 0 says that it worked, which it has not.
    EXPECT_EQ(a_mtktvapi_config_set_value(-1, kKey, 6, 7), 0);
    EXPECT_EQ(contentOf(tv_ / "soc/config/key"), "5\n");
}

TEST_F(MiddlewareFaults, FailWhereTheFileIsDamaged) {
    for (const char* text : {"", "x", "1 0", "1 -1", "1 x", "1 2 -1", "1 2 3 4", "5000000000",
                             "delay=", "delay=-1", "delay=1 0", "dies 0"}) {
        makeFile(fileOf("DRV_Init"), text);
        EXPECT_NE(DRV_Init(), 0) << text;
        EXPECT_EQ(contentOf(fileOf("DRV_Init")), text) << "it is left for the person to see";
        const auto lines = log_.take();
        ASSERT_EQ(lines.size(), 1U) << text;
        EXPECT_THAT(lines[0].text, testing::HasSubstr(fileOf("DRV_Init")));
    }
}

TEST_F(MiddlewareFaults, LetCallsPassAndDelayThem) {
    makeFile(fileOf("DRV_Init"), "-1 2 2\n");
    std::vector<int32_t> statuses;
    for (int i = 0; i < 5; ++i) statuses.push_back(DRV_Init());
    EXPECT_THAT(statuses, testing::ElementsAre(0, 0, -1, -1, 0));

    setenv("HIDLAUDIO_CLOCK", "1000", 1);
    makeFile(fileOf("MTAL_Init"), "delay=20000 1 1\n");
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(MTAL_Init(), 0);
    EXPECT_EQ(contentOf(fileOf("MTAL_Init")), "delay=20000 1\n");
    EXPECT_EQ(MTAL_Init(), 0) << "it works, but late";
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(20));
    EXPECT_EQ(contentOf(fileOf("MTAL_Init")), "(none)");
    unsetenv("HIDLAUDIO_CLOCK");
}

TEST_F(MiddlewareFaults, AreCountedOnceEach) {
    makeFile(fileOf("DRV_Init"), "-1 100\n");
    std::atomic<int> failed{0};
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int call = 0; call < 50; ++call) failed += DRV_Init() != 0 ? 1 : 0;
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(failed, 100);
}

}  // namespace
}  // namespace hidlaudio::test
