// SPDX-License-Identifier: Apache-2.0
#include "client/calibration/calibration_file.h"

#include <cmath>
#include <nlohmann/json.hpp>

#include "reading.h"

namespace hidlaudio::client {
namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

json channel(const char* name) {
    return {{"channel", name},
            {"level", -3},
            {"delay", 1.5},
            {"equalizer", json(std::vector<double>(kBands, 0.5))}};
}

TEST(CalibrationFile, WrittenCalibrationIsReadUnchanged) {
    Calibration calibration = {{"FL", -9, 10, {}}, {"<x\">", 9, 0, {}}};
    for (size_t band = 0; band < kBands; ++band)
        calibration[0].gains[band] = -9 + 0.1 * static_cast<double>(band);
    const std::string text = writeCalibrationFile(calibration);
    EXPECT_THAT(text, HasSubstr("[-9.0,-8.9,-8.8,")) << "shortest digits of the floats";
    const Reading reading = import(text);
    EXPECT_EQ(messagesOf(reading), "");
    EXPECT_EQ(writeCalibrationFile(reading.calibration), text);
    EXPECT_EQ(reading.calibration[1].channel, "<x\">");
    EXPECT_EQ(reading.calibration[0].level, -9);
    EXPECT_EQ(reading.calibration[0].delay, 10);
    EXPECT_THAT(import(writeCalibrationFile({})).calibration, IsEmpty());
    EXPECT_THAT(messagesOf(import(writeCalibrationFile({{"FL", NAN, 0, {}}}))),
                HasSubstr("/0/level (FL): null is not a number"));
}

TEST(CalibrationFile, EveryFaultIsReported) {
    struct Row {
        const char* pointer;
        json value;
        const char* fault;
    };
    const Row rows[] = {
        {"/1/channel", "FRONT", "/1/channel: \"FRONT\" is not a channel name"},
        {"/1/channel", "\x01", "/1/channel: \"?\" is not a channel name"},
        {"/1/channel", 5, "/1/channel: 5 is not a string"},
        {"/1/channel", "FL", "/1 (FL): the channel is given twice"},
        {"/1/level", "0", "/1/level (FR): \"0\" is not a number"},
        {"/1/level", 9.01, "/1/level (FR, level): 9.01 dB exceeds the limit of 9 dB"},
        {"/1/delay", 10.01, "/1/delay (FR, delay): 10.01 ms is outside"},
        {"/1/equalizer", {0, 1}, "/1/equalizer (FR): 2 gains; expected 31"},
        {"/1/equalizer", json::object(), "/1/equalizer (FR): {} is not a list"},
        {"/1/equalizer/3", nullptr, "/1/equalizer/3 (FR): band 3 (40 Hz): null is not a number"},
        {"/1/equalizer/30", -9.01,
         "/1/equalizer/30 (FR, band 30 (20000 Hz)): -9.01 dB exceeds the limit of -9 dB"},
        {"/1/gain", 0, "/1 (FR): unknown key \"gain\""},
        {"/1", 0, "/1: 0 is not an object"},
    };
    for (const Row& row : rows) {
        json file = json::array({channel("FL"), channel("FR")});
        file[json::json_pointer(row.pointer)] = row.value;
        EXPECT_THAT(import(file.dump()).faults, ElementsAre(HasSubstr(row.fault)));
    }
    for (const char* key : {"channel", "level", "delay", "equalizer"}) {
        json file = json::array({channel("FL")});
        file[0].erase(key);
        EXPECT_THAT(messagesOf(import(file.dump())), HasSubstr(std::string("\"") + key + "\" is missing"));
    }
    json all = json::array();
    for (const char* name : {"1", "2", "3", "4", "5", "6", "7", "8", "9"}) all.push_back(channel(name));
    EXPECT_EQ(messagesOf(import(all.dump())), "");
    all.push_back(channel("10"));
    EXPECT_THAT(messagesOf(import(all.dump())), HasSubstr("10 channels; the limit is 9"));
    EXPECT_THAT(messagesOf(import(all.dump(), {{"FL"}, {}, {}})), HasSubstr("omit --channel"));
    EXPECT_THAT(messagesOf(import("{}")), HasSubstr("must be a list"));
}

TEST(CalibrationFile, SyntaxErrorIsReportedWithPosition) {
    EXPECT_EQ(messagesOf(import("\n[1,\n  NaN]")), "line 3, column 3: invalid JSON at: 1,<U+000A>  N\n");
    EXPECT_EQ(messagesOf(import("[{\"a\":")), "line 1, column 7: unexpected end of the text\n");
    EXPECT_EQ(messagesOf(import("[1e999]")), "line 1, column 6: invalid JSON at: 1e999\n");
    EXPECT_THAT(messagesOf(import("[{\"level\":1,\"level\":2}, {\"level\":3}]")),
                AllOf(HasSubstr("/0: key \"level\" is given twice"), Not(HasSubstr("/1: key"))));
}

}  // namespace
}  // namespace hidlaudio::client
