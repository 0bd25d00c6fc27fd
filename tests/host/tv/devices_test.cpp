// SPDX-License-Identifier: Apache-2.0
#include <sys/stat.h>

#include "tv_command.h"

namespace hidlaudio::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;

TEST_F(TvCommand, SetsAndShowsTheBackEndController) {
    mustRun({"init"});
    mustRun({"bectrl", "hrtf", "result", "0xF3"});
    mustRun({"bectrl", "rate", "5"});
    mustRun({"bectrl", "hrtf", "rate", "6"});
    mustRun({"bectrl", "hang"});
    EXPECT_EQ(contentOf(tv_ + "/bectrl/behaviour"), "hrtf result 243\nrate 5\nhrtf rate 6\nhang on\n");
    EXPECT_THAT(mustRun({"bectrl"}), AllOf(HasSubstr("device rate 5\n"), HasSubstr("hrtf rate 6\n"),
                                           HasSubstr("hrtf result 243\n"), HasSubstr("device hang on\n")));
    mustRun({"bectrl", "rate", "7"});
    EXPECT_EQ(contentOf(tv_ + "/bectrl/behaviour"), "hrtf result 243\nhang on\nrate 7\n");
    const std::pair<std::vector<std::string>, const char*> wrongs[] = {
        {{"bectrl", "speed", "1"}, "Settings:\n  rate"},
        {{"bectrl", "rate", "0"}, "1 to 2147483647"},
        {{"bectrl", "result", "256"}, "0 to 0xFF"},
        {{"bectrl", "hang", "1"}, "on or off"},
        {{"bectrl", "hrtf", "open_fails", "on"}, "for one kind only"},
    };
    for (const auto& [wrong, message] : wrongs) {
        const Outcome outcome = run(wrong);
        EXPECT_EQ(outcome.status, 2);
        EXPECT_THAT(outcome.err, HasSubstr(message));
    }
    makeFile(tv_ + "/bectrl/behaviour", "rate fast\n");
    EXPECT_EQ(run({"bectrl", "rate", "1"}).status, 1) << "what a person wrote is not overwritten unread";

    makeFile(tv_ + "/proc/driver/tovi_bectrl/audio/hrtf_parameter_complete", "\x02\x03");
    makeFile(tv_ + "/bectrl/hrtf.bin", "12345");
    makeFile(tv_ + "/soc/bectrl/custom_spec.log", "32 1 01\n");
    EXPECT_THAT(mustRun({"show"}), AllOf(HasSubstr("hrtf: state 2, result 0x03, 5 bytes received"),
                                         HasSubstr("command 32 1 01"), HasSubstr("boot state 1")));
    mustRun({"init", "--force", "--model", "standard"});
    EXPECT_FALSE(std::filesystem::exists(tv_ + "/bectrl"));
    EXPECT_EQ(run({"bectrl"}).status, 1);
}

TEST_F(TvCommand, WritesTheEepromByteByByte) {
    mustRun({"init"});
    const std::string image = tv_ + "/soc/eeprom.bin";
    struct stat status{};
    ASSERT_EQ(stat(image.c_str(), &status), 0);
    EXPECT_EQ(status.st_size, 0x20000);
    std::string expected = contentOf(image);
    mustRun({"eeprom", "0x10089", "0X54"});
    mustRun({"eeprom", "131071", "255"});
    expected[0x10089] = 0x54;
    expected[0x1FFFF] = '\xFF';
    EXPECT_EQ(contentOf(image), expected);

    std::filesystem::remove(image);
    const Outcome missing = run({"eeprom", "5"});
    EXPECT_EQ(missing.status, 1);
    EXPECT_THAT(missing.err, HasSubstr("address 0x5"));
    mustRun({"eeprom", "5", "7"});
    EXPECT_EQ(contentOf(image), std::string("\0\0\0\0\0\7", 6));
    EXPECT_EQ(run({"eeprom", "6"}).status, 1) << "what the image does not hold is no zero";
}

}  // namespace
}  // namespace hidlaudio::test
