// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string.h>

#include "host/kernel/log.h"
#include "platform/soc_middleware.h"
#include "tests/support/private_tv.h"

namespace hidlaudio::test {
namespace {

using testing::HasSubstr;

class Audio : public testing::Test {
  protected:
    Audio() { EXPECT_EQ(MTAL_Init(), 0); }

    PrivateTv tv_{"soc/faults", "soc/audio_decoder", "soc/audio_post"};
    host::LogCapture log_;
};

TEST_F(Audio, ReturnsReadinessOfPostProcessor) {
    uint32_t answer = 7;
    const MTAUDPOST_Request request{0x42, 1, &answer, {}};
    makeFile(tv_ / "soc/audio_post/ready", "4294967295\n");
    for (MTAUDPOST_Request wrong : {MTAUDPOST_Request{0x43, 1, &answer, {}},
                                    {0x42, 2, &answer, {}},
                                    {0x42, 1, nullptr, {}},
                                    {0x42, 1, &answer, {1}}}) {
        EXPECT_NE(MTAUDPOST_GetParameters(wrong), 0);
        EXPECT_EQ(log_.take().size(), 1U);
    }
    EXPECT_EQ(answer, 7U);
    makeFile(tv_ / "soc/faults/MTAUDPOST_GetParameters", "-4 1\n");
    EXPECT_EQ(MTAUDPOST_GetParameters(request), -4);
    EXPECT_NE(answer, 0U) << "the output is garbage";
    EXPECT_EQ(MTAUDPOST_GetParameters(request), 0);
    EXPECT_EQ(answer, 4294967295U);
}

constexpr uint32_t kSet = 0x20185;
constexpr uint32_t kGet = 0x20186;

using Record = std::string;

Record recordOf(uint32_t type, const std::string& payload) {
    Record record(264, '\0');
    memcpy(record.data(), &type, sizeof(type));
    record.replace(4, payload.size(), payload);
    record[260] = static_cast<char>(payload.size());
    return record;
}

class CustomSpec : public testing::Test {
  protected:
    CustomSpec() { EXPECT_EQ(MTAL_InitExCb(nullptr), 0); }

    static int32_t set(const Record& record, uint32_t size = 264, uint32_t flags = 0) {
        return MTDRVCUST_dcustom_cust_spec_set(kSet, record.data(), size, flags);
    }

    std::string logged() const { return contentOf(tv_ / "soc/bectrl/custom_spec.log"); }

    PrivateTv tv_{"soc/bectrl", "soc/faults"};
    host::LogCapture log_;
};

TEST_F(CustomSpec, DamagedRecordsAreRefused) {
    Record dirtyTail = recordOf(32, "\x01"), dirtyPayload = dirtyTail;
    dirtyTail[263] = 1;
    dirtyPayload[5] = 1;
    for (const Record& record : {dirtyTail, dirtyPayload, recordOf(34, "\x01"), recordOf(32, "\x01\x01"),
                                 recordOf(28, "\x01"), recordOf(21, "\x01"), recordOf(32, "")}) {
        log_.take();
        EXPECT_NE(set(record), 0);
        EXPECT_EQ(log_.take().size(), 1U);
    }
    const Record good = recordOf(32, "\x01");
    EXPECT_NE(set(good, 260), 0);
    EXPECT_NE(set(good, 264, 1), 0);
    EXPECT_NE(MTDRVCUST_dcustom_cust_spec_set(kGet, good.data(), 264, 0), 0);
    EXPECT_NE(MTDRVCUST_dcustom_cust_spec_set(kSet, nullptr, 264, 0), 0);
    EXPECT_EQ(logged(), "(none)");
}

TEST(Eeprom, ReadsBytesAtAddress) {
    const PrivateTv tv{"soc/faults"};
    host::LogCapture log;
    const std::string image = tv / "soc/eeprom.bin";
    makeFile(image, "\xff");
    std::filesystem::resize_file(image, 0x10116);  // sparse file
    std::ofstream(image, std::ios::app) << "ab";
    MTEEPROM_Property property;
    ASSERT_EQ(MTAL_Init() + MTEEPROM_GetProperty(&property) + MTEEPROM_Init(), 0);
    std::string bytes(3, '?');
    const auto read = [&](uint32_t address, uint32_t length) {
        bytes.assign(length, '?');
        return MTEEPROM_Read(address, bytes.data(), length);
    };
    EXPECT_EQ(read(0x10115, 3), 0);
    EXPECT_EQ(bytes, std::string("\0ab", 3));
    log.take();
    for (const auto& [address, length] : {std::pair(0x10118U, 1U), {0x10117U, 2U}, {UINT32_MAX, 1U}}) {
        EXPECT_NE(read(address, length), 0);
        const auto lines = log.take();
        ASSERT_EQ(lines.size(), 1U);
        EXPECT_THAT(lines[0].text, HasSubstr(image));
    }
    makeFile(tv / "soc/faults/MTEEPROM_Read", "-4 1\n");
    EXPECT_EQ(read(0, 1), -4);
    EXPECT_NE(bytes, "\xff") << "garbage";
    EXPECT_NE(bytes, "?");
    std::filesystem::remove(image);
    EXPECT_NE(read(0, 1), 0);
}

}  // namespace
}  // namespace hidlaudio::test
