// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/kernel/log.h"
#include "platform/soc_middleware.h"
#include "tests/support/private_tv.h"

namespace hidlaudio::test {
namespace {

using testing::HasSubstr;

class Eeprom : public testing::Test {
  protected:
    static int32_t init() {
        MTEEPROM_Property property;
        EXPECT_EQ(MTEEPROM_GetProperty(&property), 0);
        return MTEEPROM_Init();
    }

    PrivateTv tv_{"soc/faults"};
    host::LogCapture log_;
    const std::string image_ = tv_ / "soc/eeprom.bin";
};

TEST(EepromSession, GoesThroughItsStepsInOrder) {
    // In a process of its own: nothing takes back the steps of other tests.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    static const PrivateTv tv{"soc/faults"};  // static: exit takes it away
    makeFile(tv / "soc/eeprom.bin", "x");
    const auto isOrdered = [] {
        char byte = 0;
        MTEEPROM_Property property;
        const bool refusesDisorder = MTEEPROM_Init() != 0 && MTEEPROM_GetProperty(&property) != 0 &&
                                     MTEEPROM_Init() != 0 && MTAL_Init() == 0 &&
                                     MTEEPROM_Read(0, &byte, 1) != 0 && MTEEPROM_GetProperty(nullptr) != 0;
        return refusesDisorder && MTEEPROM_GetProperty(&property) == 0 && MTEEPROM_Init() == 0 &&
               MTEEPROM_Read(0, nullptr, 1) != 0 && MTEEPROM_Read(0, &byte, 1) == 0 && byte == 'x';
    };
    EXPECT_EXIT(exit(isOrdered() ? 0 : 1), testing::ExitedWithCode(0), "");
}

TEST_F(Eeprom, IsAddressedByByte) {
    makeFile(image_, "\xff");
    std::filesystem::resize_file(image_, 0x10116);  // the most of it is a hole
    std::ofstream(image_, std::ios::app) << "ab";
    ASSERT_EQ(MTAL_Init(), 0);
    ASSERT_EQ(init(), 0);
    std::string bytes(3, '?');
    const auto read = [&](uint32_t address, uint32_t length) {
        bytes.assign(length, '?');
        return MTEEPROM_Read(address, bytes.data(), length);
    };
    EXPECT_EQ(read(0, 1), 0);
    EXPECT_EQ(bytes, "\xff");
    EXPECT_EQ(read(0x10115, 3), 0);
    EXPECT_EQ(bytes, std::string("\0ab", 3));
    log_.take();
    for (const auto& [address, length] : {std::pair(0x10118U, 1U), {0x10117U, 2U}, {UINT32_MAX, 1U}}) {
        EXPECT_NE(read(address, length), 0);
        const auto lines = log_.take();
        ASSERT_EQ(lines.size(), 1U);
        EXPECT_THAT(lines[0].text, HasSubstr(image_));
    }
    std::filesystem::remove(image_);
    EXPECT_NE(read(0, 1), 0);
    std::filesystem::create_directory(image_);
    EXPECT_NE(read(0, 1), 0);
}

TEST_F(Eeprom, LeavesGarbageWhereAReadIsMadeToFail) {
    makeFile(image_, "S");
    ASSERT_EQ(MTAL_Init(), 0);
    ASSERT_EQ(init(), 0);
    makeFile(tv_ / "soc/faults/MTEEPROM_Read", "-4 1\n");
    char byte = 0;
    EXPECT_EQ(MTEEPROM_Read(0, &byte, 1), -4);
    EXPECT_NE(byte, 0);
    EXPECT_NE(byte, 'S');
}

}  // namespace
}  // namespace hidlaudio::test
