// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>
#include <random>
#include <sstream>

#include "client/calibration/applied_values.h"
#include "client/calibration/calibration_file.h"
#include "reading.h"

namespace hidlaudio::client {
namespace {

const std::string kEqualizer =
    "Channel: L R\r\nPreamp: -6 dB\nDelay: 2,5 ms\nGraphicEQ: 20 -1.5; 25 0; 1000,5 2\n"
    "Filter 1: ON PK Fc 63 Hz Gain -3.0 dB Q 4.3\nFilter: ON LSC Fc 90 Hz Gain 3 dB BW Oct 2\n";
const std::string kFile = writeCalibrationFile({{"FL", -3, 1.5, {1, -9, 9}}, {"FR", 0, 0, {}}});

bool isPrintable(const std::string& text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c <= '~'; });
}

bool isWithinLimits(const ChannelCalibration& channel) {
    const auto isGain = [](double gain) { return std::fabs(gain) <= kLargestGain; };
    return checkChannelName(channel.channel).empty() && isGain(channel.level) && channel.delay >= 0 &&
           channel.delay <= kLongestDelay && std::all_of(channel.gains.begin(), channel.gains.end(), isGain);
}

/** Whatever the text is, nothing that the service refuses passes, and no message upsets a terminal. */
void importAnything(const std::string& text) {
    for (const BeyondLimit beyond : {BeyondLimit::Refuse, BeyondLimit::Clamp}) {
        const Reading reading = import(text, {}, beyond);
        for (const auto* messages : {&reading.faults, &reading.notes})
            ASSERT_TRUE(std::all_of(messages->begin(), messages->end(), isPrintable))
                << said(reading) << text;
        if (!reading.faults.empty()) continue;
        ASSERT_LE(reading.calibration.size(), kMostChannels);
        for (const ChannelCalibration& channel : reading.calibration) {
            ASSERT_TRUE(isWithinLimits(channel)) << channel.channel << "\n" << text;
            ASSERT_LE(countRounded(channel), 2 + kBands);
        }
    }
}

TEST(HostileText, CutAnywhere) {
    for (const std::string* text : {&kEqualizer, &kFile}) {
        for (size_t length = 0; length <= text->size(); ++length) importAnything(text->substr(0, length));
    }
}

TEST(HostileText, ShuffledPieces) {
    std::istringstream all(
        "Channel:|Filter 1:|GraphicEQ:|Preamp:|Delay:|ON|PK|HS|Fc|Gain|Q|BW Oct|20|-1,5|1e9|;|\n|all|L|nan|"
        "[|]|{|}|\"channel\":|\"FL\"|,|\"equalizer\":|\xff||99999999999999999999|-|\r|dB|Hz|0.01|"
        "\"level\":|:");
    std::vector<std::string> pieces;
    for (std::string piece; std::getline(all, piece, '|');) pieces.push_back(piece);
    std::mt19937 random(7);
    for (int round = 0; round < 1500; ++round) {
        std::string text = round % 3 == 0 ? "[" : round % 3 == 1 ? "Filter: ON PK Fc 20 Gain 1 Q 1\n" : "";
        for (size_t i = random() % 30; i > 0; --i)
            text += pieces[random() % pieces.size()] + (i % 2 ? " " : "");
        importAnything(text);
        std::string changed = round % 2 == 0 ? kEqualizer : kFile;
        for (int i = 0; i < 3; ++i) changed[random() % changed.size()] = static_cast<char>(random() % 256);
        importAnything(changed);
    }
}

std::string repeat(const std::string& piece, size_t count) {
    std::string text;
    for (size_t i = 0; i < count; ++i) text += piece;
    return text;
}

TEST(HostileText, Huge) {
    constexpr size_t kMany = 200000;
    for (const std::string& text :
         {std::string(kMany, '['), "[" + repeat("{\"a\":", kMany), "[" + repeat("1,", kMany) + "1]",
          "Channel:" + repeat(" X", kMany), "Channel:" + repeat(" XXXXX", kMany),
          "GraphicEQ:" + repeat("1 1;", kMany), repeat("Filter: OFF\n", kMany), repeat("x\n", kMany),
          repeat("Preamp: 60\n", kMany), std::string(kMany, ':'), "Filter: ON PK " + repeat("Q 1 ", kMany),
          "Preamp: " + std::string(kMany, '1')}) {
        importAnything(text);
    }
}

}  // namespace
}  // namespace hidlaudio::client
