// SPDX-License-Identifier: Apache-2.0
#include <cmath>
#include <complex>

#include "client/calibration/import/biquad_response.h"
#include "client/calibration/import/filter_text.h"
#include "reading.h"

namespace hidlaudio::client {
namespace {

using testing::DoubleNear;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr size_t kBand63 = 5;
constexpr size_t kBand200 = 10;
constexpr size_t kBand1k = 17;

/** Returns the gain of the analog filter at the frequency that the bilinear transform maps to `frequency`. */
double analogueResponse(const Filter& filter, double frequency) {
    const double pi = std::acos(-1.0);
    const double bent = std::tan(pi * frequency / 48000) / std::tan(pi * filter.frequency / 48000);
    const std::complex<double> s(0, bent);
    const double a = std::pow(10, filter.gain / 40);
    const double width = std::sqrt(a) / filter.q;
    std::complex<double> response = (s * s + s * a / filter.q + 1.0) / (s * s + s / (a * filter.q) + 1.0);
    if (filter.shape == FilterShape::LowShelf)
        response = a * (s * s + width * s + a) / (a * s * s + width * s + 1.0);
    if (filter.shape == FilterShape::HighShelf)
        response = a * (a * s * s + width * s + 1.0) / (s * s + width * s + a);
    return 20 * std::log10(std::abs(response));
}

TEST(EqualizerText, FilterResponseEqualsAnalogModel) {
    const auto expectSame = [](const Filter& filter) {
        for (size_t band = 0; band < kBands; ++band) {
            const double frequency = bandCenter(band);
            ASSERT_NEAR(responseAt(filter, frequency), analogueResponse(filter, frequency), 1e-4)
                << static_cast<int>(filter.shape) << " " << filter.frequency << " " << filter.gain;
        }
    };
    for (const FilterShape shape : {FilterShape::Peak, FilterShape::LowShelf, FilterShape::HighShelf})
        for (const double frequency : {1.0, 1000.0, 23999.0})
            for (const double gain : {-60.0, 0.0, 12.0})
                for (const double q : {0.01, 0.7, 100.0}) expectSame({shape, frequency, gain, q});
}

TEST(EqualizerText, FilterLinesAreParsed) {
    struct Row {
        const char* text;
        FilterShape shape;
        double frequency, gain, q;
    };
    const Row rows[] = {
        {"ON PK Fc 63 Hz Gain -3.0 dB Q 4.3", FilterShape::Peak, 63, -3, 4.3},
        {"on  PEQ\tFc 1,5kHz Gain +2,5dB Q 1", FilterShape::Peak, 0, 0, 0},
        {"ON PEQ Fc 63,5Hz Gain +2,5dB Q 1,25", FilterShape::Peak, 63.5, 2.5, 1.25},
        {"ON PK Q 2 Gain 1 Fc 100", FilterShape::Peak, 100, 1, 2},
        {"ON PK Fc 1000 Hz Gain 6 dB BW Oct 1", FilterShape::Peak, 1000, 6, 1.4110},
        {"ON LSC Fc 100 Hz Gain 6 dB", FilterShape::LowShelf, 100, 6, 0.66881},
        {"ON HSC Fc 8000 Hz Gain -2 dB Q 0.5", FilterShape::HighShelf, 8000, -2, 0.5},
        {"ON HSC 12 dB Fc 8000 Hz Gain -2 dB", FilterShape::HighShelf, 8000, -2, 0.70711},
        {"ON LS Q Fc 100 Hz Gain 6 dB Q 0.5", FilterShape::LowShelf, 100, 6, 0.5},
        // A line with the slope, 12 dB per octave or 40 dB per decade, reaches the gain at the corner.
        {"ON LS 12dB Fc 100 Hz Gain 12 dB", FilterShape::LowShelf, 141.254, 12, 0.70711},
        {"ON LS Fc 100 Hz Gain -12 dB Q 0.70711", FilterShape::LowShelf, 141.254, -12, 0.70711},
        {"ON HS 12dB Fc 100 Hz Gain 12 dB", FilterShape::HighShelf, 70.795, 12, 0.70711},
        {"ON HS Fc 100 Hz Gain 6 dB", FilterShape::HighShelf, 82.540, 6, 0.66881},
    };
    for (const Row& row : rows) {
        const FilterLine line = parseFilter(row.text);
        EXPECT_EQ(line.on, row.frequency > 0) << row.text << line.reason;
        if (!line.on) continue;
        EXPECT_EQ(line.filter.shape, row.shape) << row.text;
        EXPECT_THAT(line.filter.frequency, DoubleNear(row.frequency, 1e-3)) << row.text;
        EXPECT_EQ(line.filter.gain, row.gain) << row.text;
        EXPECT_THAT(line.filter.q, DoubleNear(row.q, 1e-3)) << row.text;
    }
}

TEST(EqualizerText, LinesAddUpPerChannel) {
    const Reading reading = import(
        "\xEF\xBB\xBF# a comment\r\n"
        "Preamp: -2,5 dB\r\n"
        "Channel: L\r\n"
        "Filter  1: ON PK Fc 63,0 Hz Gain -3,0 dB Q 4,30\r\n"
        "GraphicEQ: 400 6; 100 0\r\n"
        "Delay: 1.5 ms\r\n"
        "channel: r c\r\n"
        "Preamp: 1\r\n"
        "Filter: ON HSC Fc 1000 Hz Gain 4 dB\r\n"
        "Device: all\r\n"
        "Channel: all\r\n"
        "Filter 3: ON PK Fc 1000 Hz Gain -1 dB Q 2");
    EXPECT_EQ(messagesOf(reading), "");
    ASSERT_EQ(reading.calibration.size(), 3U);
    const ChannelCalibration& left = reading.calibration[0];
    const ChannelCalibration& right = reading.calibration[1];
    EXPECT_EQ(left.channel + right.channel + reading.calibration[2].channel, "FLFRC");
    EXPECT_EQ(left.level, -2.5);
    EXPECT_EQ(right.level, -1.5);
    EXPECT_EQ(left.delay, 1.5);
    EXPECT_EQ(right.delay, 0);
    EXPECT_NEAR(left.gains[kBand63], -3, 0.01) << "the curve is constant below its first point";
    EXPECT_NEAR(left.gains[kBand200], 3, 0.06) << "200 Hz is halfway between 100 Hz and 400 Hz";
    EXPECT_NEAR(left.gains[kBand1k], 5, 0.01);
    EXPECT_NEAR(right.gains[kBand1k], 1, 0.001) << "half the gain of the shelf, plus the gain of the peak";
    EXPECT_EQ(right.gains, reading.calibration[2].gains);
}

TEST(EqualizerText, UnusableLineIsReportedWithReason) {
    struct Row {
        const char* line;
        const char* reason;
    };
    const Row rows[] = {
        {"Dated: today \x1b[2J", "\"Dated: today ?[2J\" is not understood"},
        {"Filter 2: OFF PK Fc 50 Hz Gain 3 dB Q 1", "the filter is off"},
        {"Filter 2: ON LP Fc 50 Hz", "filter type \"lp\" is not supported"},
        {"Filter 2: ON PK 6dB Fc 50 Hz Gain 3 dB", "unknown word \"6\" in a filter"},
        {"Filter 2: ON LSC 24dB Fc 50 Hz Gain 40 dB", "no shelf with this gain is so steep"},
        {"Filter 2: ON LSC 6dB Fc 50 Hz Gain 20 dB Q 1", "has both a slope and a width"},
        {"Filter 2: ON LS 0.1dB Fc 50 Hz Gain 60 dB", "half its gain between 1 and 23999 Hz"},
        {"Filter 2: ON LS Fc 100 Hz Gain 6 dB",
         "half the gain is at 121 Hz; with type LSC it would be at Fc"},
        {"Filter 2: ON PK Fc 50 Hz Gain 3 dB", "neither \"Q\" nor \"BW Oct\""},
        {"Filter 2: ON LS Q Fc 50 Hz Gain 3 dB", "neither \"Q\" nor \"BW Oct\""},
        {"Filter 2: ON PK Fc 50 Hz Q 3", "has no \"Gain\""},
        {"Filter 2: ON PK Fc 50 Fc 60 Gain 1 Q 3", "\"fc\" is given twice"},
        {"Filter 2: ON PK Fc 50 Hz Gain", "no value after \"gain\""},
        {"Filter 2: ON PK Fc 12,500 Hz Gain 1 Q 3", "\"12,500\" is ambiguous"},
        {"Filter 2: ON PK Fc 24000 Hz Gain 1 Q 3", "\"24000\" is not a number from 1 to 23999"},
        {"Filter 2: PK Fc 50 Hz Gain 1 Q 3", "must begin with ON or OFF"},
        {"Filter 2: ON PK Fc 56.2 Hz Gain -8 dB Q 30", "which get only -0.2 dB of its -8.0 dB"},
        {"GraphicEQ: 20 1; 30", "point 2: \"30\" is not a frequency with a gain"},
        {"GraphicEQ: 20 1; 20.0 2", "two points at 20 Hz"},
        {"GraphicEQ: 20 61", "\"61\" is not a number from -60 to 60"},
        {"GraphicEQ: ;", "has no points"},
        {"Preamp: 1e999", "not a gain in dB"},
        {"Delay: 48 samples", "not a delay in ms"},
    };
    for (const Row& row : rows) {
        const Reading reading = import("Preamp: 1 dB\nGraphicEQ: 20 0\n" + std::string(row.line));
        EXPECT_THAT(reading.faults, IsEmpty()) << row.line;
        EXPECT_THAT(reading.notes, ElementsAre(AllOf(HasSubstr("line 3: "), HasSubstr(row.reason))))
            << row.line;
        EXPECT_EQ(reading.calibration[0].level, 1) << row.line;
    }
    EXPECT_THAT(import("Preamp: 1\rFilter: OFF\rFilter: OFF\r\n\nFilter: ON None").notes,
                ElementsAre("lines 2 to 3: the filter is off", "line 5: the filter is off"));
    for (const char* useless : {"", "Channel: L", "Preamp: x", "filters: {a: {type: Gain}}"})
        EXPECT_THAT(messagesOf(import(useless)), HasSubstr("is not JSON and has no usable"));
    EXPECT_THAT(messagesOf(import("\xFF\xFE[")), HasSubstr("UTF-16"));
}

TEST(EqualizerText, TextWithUnsupportedCommandsIsRefused) {
    struct Row {
        const char* text;
        const char* fault;
    };
    const Row rows[] = {
        {"If: sampleRate == 48000", "line 3: \"If: sampleRate == 48000\": conditions are not evaluated"},
        {"ElseIf: 1\nElse:\nEndIf:", "line 5: \"EndIf:\": conditions are not evaluated"},
        {"  Device: Speakers", "line 3: \"Device: Speakers\": the lines apply to some devices only"},
        {"Stage: pre-mix", "line 3: \"Stage: pre-mix\": the lines apply to a part"},
        {"Include: peace.txt", "line 3: \"Include: peace.txt\": other files are not read"},
        {"Copy: L=0.5*L+0.5*R", "line 3: \"Copy: L=0.5*L+0.5*R\": channels cannot be mixed"},
        {"Convolution: room.wav", "line 3: \"Convolution: room.wav\": impulse responses"},
        {"[Speakers]\nPreAmp=-3", "line 3: \"[Speakers]\" begins a section"},
        {"room:\n# indented\n\n  delay: 5", "line 3: \"room:\" begins a section"},
        {"pipeline:\n- type: Filter", "line 3: \"pipeline:\" begins a section of a CamillaDSP configuration"},
        {"Channel: Foo", "line 3: unknown channel \"FOO\"; expected L, R, FL, "},
        {"Channel: L SUBWOOFER", "line 3: unknown channel \"SUBWOOFER\""},
        {"Channel:", "line 3: no channel after"},
    };
    for (const Row& row : rows) {
        const Reading reading =
            import("Preamp: -3 dB\nFilter: ON PK Fc 63 Gain -3 Q 4\n" + std::string(row.text),
                   {{"FL", "C"}, {}, {}});
        EXPECT_THAT(reading.faults, testing::Contains(HasSubstr(row.fault))) << row.text;
    }
    EXPECT_THAT(import("Preamp: -3 dB\nFilter: ON LP Fc 50 Hz\nGraphicEQ: x").faults,
                ElementsAre("none of the filters for FL, FR can be used"));
    EXPECT_THAT(import("Channel: L\nGraphicEQ: 20 1\nChannel: C\nPreamp: 1\nFilter: ON LP Fc 50 Hz").faults,
                ElementsAre("none of the filters for C can be used"));
    EXPECT_THAT(import("devices:\n  samplerate: 48000\nfilters:\n  a:\n    type: Delay\n    parameters:\n"
                       "      delay: 5.5\n      unit: mm\n")
                    .faults,
                ElementsAre(HasSubstr("line 1: \"devices:\" begins a section of a CamillaDSP")));
    EXPECT_EQ(messagesOf(import("Notes:\n  of 3 July\nFilter 1: OFF PK\nFilter 2: ON None")),
              "line 1: \"Notes:\" is not understood\nline 2: \"of 3 July\" is not understood\nlines 3 to 4: "
              "the filter is off\n")
        << "header of a REW export";
}

TEST(EqualizerText, OptionsReplaceValuesOfText) {
    const std::string text = "Preamp: -4 dB\nDelay: 1\nChannel: R\nGraphicEQ: 20 12\n";
    const Reading left = import(text, {{"FL"}, 1.0, 2.0});
    EXPECT_EQ(left.calibration[0].level, 1);
    EXPECT_EQ(left.calibration[0].delay, 2);
    EXPECT_EQ(messagesOf(left),
              "the text is not JSON and has no usable \"GraphicEQ:\" or \"Filter:\" line\n"
              "line 1: ignored because of --level\n"
              "line 2: ignored because of --delay\n"
              "line 3: channel FR is not loaded\n"
              "line 4: none of its channels is loaded\n");
    EXPECT_THAT(import("Channel: R\nGraphicEQ: 20 1", {{"FR", "C"}, {}, {}}).notes,
                ElementsAre("no line applies to C, which becomes flat"));
    const Reading both = import("GraphicEQ: 20 3");
    ASSERT_EQ(both.calibration.size(), 2U);
    EXPECT_EQ(both.calibration[0].gains, both.calibration[1].gains);
}

TEST(EqualizerText, ValueBeyondLimitIsRefusedOrClamped) {
    const std::string text = "Preamp: -9.5\nDelay: 10.5\nGraphicEQ: 1000 9; 1250 9.1; 1600 -9.1\n";
    const TextOptions options{{"FL"}, {}, {}};
    const Reading refused = import(text, options);
    EXPECT_EQ(refused.faults[0], "FL, level: -9.5 dB exceeds the limit of -9 dB; --clamp uses the limit");
    EXPECT_EQ(refused.faults[1], "FL, delay: 10.5 ms is outside 0 to 10 ms");
    EXPECT_EQ(refused.faults[2],
              "FL, band 18 (1250 Hz): 9.1 dB exceeds the limit of 9 dB; --clamp uses the limit");
    EXPECT_EQ(refused.faults.size(), 2 + 13U) << "the curve is constant above its last point, up to 20 kHz";
    const Reading clamped = import(text, options, BeyondLimit::Clamp);
    EXPECT_THAT(clamped.faults, ElementsAre(HasSubstr("delay")));
    EXPECT_EQ(clamped.notes.size(), 1 + 13U);
    EXPECT_EQ(clamped.calibration[0].level, -9);
    EXPECT_EQ(clamped.calibration[0].gains[18], 9);
}

std::string repeat(const std::string& piece, size_t count) {
    std::string text;
    for (size_t i = 0; i < count; ++i) text += piece;
    return text;
}

TEST(EqualizerText, HugeTextIsParsedWithMessages) {
    constexpr size_t kMany = 200000;
    for (const std::string& text :
         {std::string(kMany, '['), "[" + repeat("{\"a\":", kMany), "[" + repeat("1,", kMany) + "1]",
          "Channel:" + repeat(" X", kMany), "GraphicEQ:" + repeat("1 1;", kMany), repeat("x\n", kMany),
          repeat("Preamp: 60\n", kMany), "Filter: ON PK " + repeat("Q 1 ", kMany),
          "Preamp: " + std::string(kMany, '1')}) {
        EXPECT_NE(messagesOf(import(text)), "");
    }
}

}  // namespace
}  // namespace hidlaudio::client
