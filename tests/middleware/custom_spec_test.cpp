// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <string.h>

#include "host/kernel/log.h"
#include "platform/soc_middleware.h"
#include "tests/support/private_tv.h"

namespace hidlaudio::test {
namespace {

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

    static int32_t get(Record& record, uint32_t size = 264) {
        return MTDRVCUST_dcustom_cust_spec_get(kGet, record.data(), &size);
    }

    std::string logged() const { return contentOf(tv_ / "soc/bectrl/custom_spec.log"); }

    PrivateTv tv_{"soc/bectrl", "soc/faults"};
    host::LogCapture log_;
};

TEST_F(CustomSpec, AnswersWhetherTheControllerHasBooted) {
    Record record = recordOf(21, std::string(1, '\0'));
    for (const int state : {0, 1, 2, 255}) {
        makeFile(tv_ / "soc/bectrl/boot_state", std::to_string(state) + "\n");
        ASSERT_EQ(get(record), 0);
        EXPECT_EQ(static_cast<uint8_t>(record[4]), state);
    }
    const Record before = record;
    for (const char* text : {"", "yes", "256", "-1"}) {
        makeFile(tv_ / "soc/bectrl/boot_state", text);
        EXPECT_NE(get(record), 0) << text;
    }
    makeFile(tv_ / "soc/bectrl/boot_state", "0\n");
    makeFile(tv_ / "soc/faults/MTDRVCUST_dcustom_cust_spec_get", "-8 1\n");
    EXPECT_EQ(get(record), -8);
    EXPECT_EQ(record, before);
    EXPECT_NE(get(record, 263), 0);
    EXPECT_NE(MTDRVCUST_dcustom_cust_spec_get(kGet, record.data(), nullptr), 0);
    Record command = recordOf(32, "\x01");
    EXPECT_NE(get(command), 0);
}

TEST_F(CustomSpec, LogsEachCommand) {
    std::string block(36, '\0');
    block[0] = '\xAB';
    block[35] = '\x0C';
    EXPECT_EQ(set(recordOf(32, "\x01")), 0);
    EXPECT_EQ(set(recordOf(28, block)), 0);
    EXPECT_EQ(set(recordOf(33, std::string(1, '\0'))), 0);
    EXPECT_EQ(logged(), "32 1 01\n28 36 ab" + std::string(68, '0') + "0c\n33 1 00\n");
    makeFile(tv_ / "soc/faults/MTDRVCUST_dcustom_cust_spec_set", "5\n");
    EXPECT_EQ(set(recordOf(32, "\x01")), 5);
    std::filesystem::remove_all(tv_ / "soc/faults");
    std::filesystem::remove_all(tv_ / "soc/bectrl");
    EXPECT_NE(set(recordOf(32, "\x01")), 0) << "a TV without a controller";
}

TEST_F(CustomSpec, RefusesADamagedRecord) {
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

}  // namespace
}  // namespace hidlaudio::test
