// SPDX-License-Identifier: Apache-2.0
#include <errno.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "host/kernel/faults/faults.h"
#include "host/kernel/log.h"
#include "platform/soc_middleware.h"
#include "tests/support/private_tv.h"

namespace hidlaudio::test {
namespace {

using host::LogCapture;
using testing::HasSubstr;

constexpr char kKey[] = "g_audio__tv_position";
constexpr int32_t kUntouched = -1;

int32_t get(const char* key, int32_t& value) {
    value = kUntouched;
    return a_mtktvapi_config_get_value(-1, key, &value);
}

int32_t set(const char* key, int32_t value, int32_t mode) {
    return a_mtktvapi_config_set_value(-1, key, value, mode);
}

class ConfigStore : public testing::Test {
  protected:
    ConfigStore() { EXPECT_EQ(MTAL_InitExCb(nullptr), 0); }

    PrivateTv tv_{"soc/config", "soc/faults"};
    LogCapture log_;
    int32_t value_ = 0;
};

TEST_F(ConfigStore, ReadFailsIfFileHoldsNoNumber) {
    std::filesystem::create_directory(tv_ / "soc/config/folder");
    for (const std::string& text :
         {std::string(), std::string("five"), std::string("5 6"), std::string("0x5"),
          std::string("2147483648"), std::string(1 << 20, '5')}) {
        makeFile(tv_ / "soc/config/bad", text);
        EXPECT_NE(get("bad", value_), 0) << text.size();
        EXPECT_EQ(value_, kUntouched);
    }
    for (const char* key : {"bad", "missing", "folder"}) {
        log_.take();
        EXPECT_NE(get(key, value_), 0) << key;
        const auto lines = log_.take();
        ASSERT_EQ(lines.size(), 1U) << key;
        EXPECT_THAT(lines[0].text, HasSubstr(tv_ / "soc/config/" + key));
    }
}

TEST_F(ConfigStore, FileIsReplacedOnlyByAnotherValue) {
    const auto fileNumber = [&] {
        struct stat status{};
        EXPECT_EQ(stat((tv_ / "soc/config/key").c_str(), &status), 0);
        return status.st_ino;
    };
    const auto store = [&](int32_t value) {
        EXPECT_EQ(set("key", value, 4), 0);
        EXPECT_EQ(get("key", value_), 0);
        EXPECT_EQ(value_, value);
        return fileNumber();
    };
    const ino_t first = store(1);
    EXPECT_EQ(store(1), first);
    EXPECT_NE(store(2), first);
}

TEST_F(ConfigStore, InvalidRequestsAreRefused) {
    makeFile(tv_ / "soc/key", "5\n");
    const std::string longName(129, 'k');
    for (const char* key : {"../key", "", ".", "..", "a/b", ".hidden", "a b", "a\n", longName.c_str()}) {
        EXPECT_NE(get(key, value_), 0) << key;
        EXPECT_NE(set(key, 6, 7), 0) << key;
    }
    EXPECT_EQ(contentOf(tv_ / "soc/key"), "5\n");
    EXPECT_TRUE(std::filesystem::is_empty(tv_ / "soc/config"));
    EXPECT_NE(a_mtktvapi_config_get_value(0, kKey, &value_), 0);
    EXPECT_NE(a_mtktvapi_config_set_value(0, kKey, 1, 7), 0);

    // Each key has its own mode. A key without a mode must not be written.
    for (const auto& [key, mode, right] : {std::tuple(kKey, 7, true),
                                           {kKey, 4, false},
                                           {"g_audio__arc_dd_plus_capab", 4, true},
                                           {"g_audio__arc_dd_plus_capab", 7, false},
                                           {"g_audio__earc_ddp_cap", 4, false},
                                           {"key", 5, false}}) {
        EXPECT_EQ(set(key, 1, mode) == 0, right) << key << " " << mode;
    }
}

TEST_F(ConfigStore, FaultsOfProgramDoNotReachMiddleware) {
    std::vector<std::unique_ptr<host::ScopedFault>> faults;
    for (const std::string call : host::kFaultableCalls) {
        faults.push_back(std::make_unique<host::ScopedFault>(host::Fault{call, 1, EIO, true}));
    }
    EXPECT_EQ(set(kKey, 1, 7), 0);
    EXPECT_EQ(get(kKey, value_), 0);
    EXPECT_EQ(value_, 1);
    for (const auto& fault : faults) EXPECT_FALSE(fault->injected());
}

}  // namespace
}  // namespace hidlaudio::test
