// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>

#include <cmath>

#include "client/calibration/applied_values.h"
#include "client/calibration/display/calibration_plot.h"
#include "client/calibration/display/calibration_svg.h"
#include "client/calibration/display/calibration_table.h"

namespace hidlaudio::client {
namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

TEST(CalibrationPicture, AppliedValuesAreRoundedLikeInController) {
    struct Row {
        double requested, applied;
    };
    for (const Row& row : {Row{2.35, 2.4}, {-0.25, -0.3}, {0.25, 0.3}, {-9, -9}, {0.04, 0}, {-0.04, 0}}) {
        const ChannelCalibration applied = appliedValues({"FL", row.requested, 0, {row.requested}});
        EXPECT_FLOAT_EQ(static_cast<float>(applied.level), static_cast<float>(row.applied)) << row.requested;
        EXPECT_FLOAT_EQ(static_cast<float>(applied.gains[0]), static_cast<float>(row.applied))
            << row.requested;
    }
    EXPECT_EQ(appliedValues({"FL", 0, 10, {}}).delay, 10);
    EXPECT_EQ(appliedValues({"FL", 0, 0.01, {}}).delay, 0);
    EXPECT_EQ(roundingTable({{"FL", 0.1, 1.5, {-3.3, 8.9}}}), "")
        << "tenths of a dB are not exact as floats, but not rounded";
}

TEST(CalibrationPicture, RoundedValuesAreShown) {
    const Gains gains = {0.25, -3};
    EXPECT_EQ(roundingTable({{"FL", 1, 0.3, gains}, {"C", 0, 0, {}}, {"FR", 1, 0.3, gains}}),
              "                         FL,FR\n"
              "           requested   applied\n"
              "delay ms         0.3     0.292\n"
              "20 Hz           0.25       0.3\n");
    EXPECT_EQ(roundingTable({{"FL", 1, 0, {}}}), "");
    EXPECT_THAT(summarize({{"FL", -0.04, 1.5, gains}, {"FR", 0, 0, {}}}),
                EndsWith("\nFR    level 0 dB, delay 0 ms, equalizer 0 to 0 dB; only the delay is used\n"));
}

TEST(CalibrationPicture, PlotFitsTerminal) {
    Gains gains{};
    gains[0] = 3;
    gains[1] = -0.75;
    gains[2] = 0.01;
    gains[30] = -3;
    gains[29] = NAN;
    const std::string plot = plotGains(gains, {80, true});
    EXPECT_THAT(plot, HasSubstr("\n  +1.0 █\n       █   ▁\n"));
    EXPECT_THAT(plot,
                HasSubstr("─────?───\n         █                                                         █\n"
                          "  -1.0   ▀ "));
    EXPECT_THAT(plotGains(gains, {0, false}),
                AllOf(HasSubstr("\n    Hz   31.5  125   500   2k    8k\n"),
                      HasSubstr("       # .\n  0 dB --+-----+"), Not(HasSubstr("█"))));
    for (size_t columns = 0; columns < 300; ++columns) {
        const std::string text = plotGains(gains, {columns, false});
        size_t longest = 0;
        for (size_t at = 0; at < text.size(); at = text.find('\n', at) + 1)
            longest = std::max(longest, text.find('\n', at) - at);
        ASSERT_LE(longest, std::max<size_t>(columns, 38));
    }
    gains[5] = 1e300;
    EXPECT_GE(scaleOf(gains), 1e300);
    EXPECT_EQ(scaleOf({INFINITY, 6}), 6);
}

TEST(CalibrationPicture, SvgIsWellFormedForAnyValues) {
    Calibration calibration = {{"<&\">", -3, 1.5, {3, NAN, -3, INFINITY}}, {"\xff\x01", 0, 0, {}}};
    calibration.resize(kMaxChannels, {"FR", 0, 0, {}});
    const std::string svg = drawCalibration(calibration);
    EXPECT_THAT(svg, AllOf(StartsWith("<svg xmlns=\"http://www.w3.org/2000/svg\""),
                           HasSubstr(">&#60;&#38;&#34;&#62;<"), HasSubstr(">-3.0 dB, 1.5 ms<"),
                           HasSubstr(">?\?<"), HasSubstr(">20k<"), Not(HasSubstr("nan"))));
}

}  // namespace
}  // namespace hidlaudio::client
