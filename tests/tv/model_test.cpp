// SPDX-License-Identifier: Apache-2.0
#include <sys/stat.h>

#include "tests/tv/tv_command.h"

namespace hidlaudio::test {
namespace {

using testing::HasSubstr;

/** Little-endian, as the TV's programs read it. */
int32_t wordAt(const std::string& file, size_t offset) {
    uint32_t word = 0;
    for (size_t i = 0; i < 4; ++i) word |= static_cast<uint32_t>(file.at(offset + i) & 0xFF) << (8 * i);
    return static_cast<int32_t>(word);
}

TEST_F(TvCommand, MakesTheModelsEeprom) {
    const struct {
        std::vector<std::string> options;
        const char* backEnd;
        const char* segment;
        const char* synchronized;
    } models[] = {{{"--model", "be"}, "0x01\n", "0x45\n", "0x00\n"},
                  {{"--model", "standard"}, "0x00\n", "0x45\n", "0x00\n"},
                  {{"--model", "standard", "--centre-input"}, "0x00\n", "0x53\n", "0x01\n"}};
    for (const auto& model : models) {
        std::vector<std::string> arguments{"init", "--force"};
        arguments.insert(arguments.end(), model.options.begin(), model.options.end());
        mustRun(arguments);
        EXPECT_EQ(mustRun({"eeprom", "0x1001A"}), model.backEnd);
        EXPECT_EQ(mustRun({"eeprom", "65673"}), model.segment);
        EXPECT_EQ(mustRun({"eeprom", "0x10116"}), model.synchronized);
    }
}

TEST_F(TvCommand, WritesTheEepromByteByByte) {
    mustRun({"init"});
    const std::string image = tv_ + "/soc/eeprom.bin";
    struct stat status {};
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

TEST_F(TvCommand, MakesATuningFileForAllThatIsReadOfIt) {
    mustRun({"init"});
    const std::string file = contentOf(tv_ + "/data/vendor/tmp/recipe/aqda.bin");
    ASSERT_GE(file.size(), 23944U);
    for (const auto& [offset, expected] : {std::pair<size_t, int32_t>{0x4BD4, 48000},
                                           {0x4BD4 + 0x34, -35},
                                           {0x4BD4 + 0x38, 0x04060A00},
                                           {0x4BD4 + 0x48 + 30 * 4, 0},
                                           {0x57C4, 1},
                                           {0x5944, 0},
                                           {0x5944 + 4 + 30 * 4, -75},
                                           {0x5D74, 3},
                                           {0x5D78, 1024}}) {
        EXPECT_EQ(wordAt(file, offset), expected) << offset;
    }
}

}  // namespace
}  // namespace hidlaudio::test
