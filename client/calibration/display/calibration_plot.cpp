// SPDX-License-Identifier: Apache-2.0
#include "calibration_plot.h"

#include <algorithm>
#include <cmath>

#include "client/calibration/decimal.h"

namespace hidlaudio::client {
namespace {

constexpr size_t kHalfHeight = 6;  // above 0 dB; the same number is below
constexpr size_t kScaleWidth = 7;  // "  +4.5 "
constexpr size_t kWidestBand = 4;
constexpr size_t kLabelRoom = 6;  // "1.25k", and a gap

/** Characters for a row of a bar that is filled slightly, half, or completely. */
struct Blocks {
    const char* up[3];
    const char* down[3];
    const char* line;
    const char* tick;
};

constexpr Blocks kUtf8 = {{"▁", "▄", "█"}, {"▔", "▀", "█"}, "─", "┴"};
constexpr Blocks kAscii = {{".", "o", "#"}, {"'", "o", "#"}, "-", "+"};

struct Plot {
    const Gains& gains;
    const Blocks& blocks;
    double decibelsPerRow;
    size_t bandWidth;
};

/** Returns one row of a bar that is `height` rows long. The row begins `from` rows from the 0 dB line. */
const char* cellOf(double height, double from, const char* const (&blocks)[3]) {
    const double filled = height - from;
    if (filled >= 0.75) return blocks[2];
    if (filled >= 0.25) return blocks[1];
    return from == 0 && filled > 0 ? blocks[0] : " ";
}

/** Returns the cell of a band, followed by a gap if it is wide enough. */
std::string bandText(const Plot& plot, const char* cell, const char* gap) {
    std::string text;
    for (size_t i = 0; i + 1 < plot.bandWidth; ++i) text += cell;
    return plot.bandWidth == 1 ? cell : text + gap;
}

/** Returns row number `row`, counted from the 0 dB line. `sign` is 1 above the line and -1 below. */
std::string rowText(const Plot& plot, size_t row, int sign) {
    const double end = sign * static_cast<double>(row + 1) * plot.decibelsPerRow;
    std::string label = row % 2 == 1 ? signedText(end, 1) : "";
    std::string line = std::string(kScaleWidth - 1 - label.size(), ' ') + label + " ";
    for (const double gain : plot.gains) {
        const double height = std::isfinite(gain) ? sign * gain / plot.decibelsPerRow : 0;
        line += bandText(
            plot, cellOf(height, static_cast<double>(row), sign > 0 ? plot.blocks.up : plot.blocks.down),
            " ");
    }
    line.erase(line.find_last_not_of(' ') + 1);
    return line + "\n";
}

/** Returns whether the band has a label: every octave has one, or every second octave if space is short. */
bool hasLabel(const Plot& plot, size_t band) {
    const size_t step = kLabelRoom <= plot.bandWidth * 3 ? 3 : 6;
    return band % step == 2;
}

std::string lineText(const Plot& plot) {
    std::string line = "  0 dB ";
    for (size_t band = 0; band < kBands; ++band) {
        const char* middle = hasLabel(plot, band) ? plot.blocks.tick : plot.blocks.line;
        line += bandText(plot, std::isfinite(plot.gains[band]) ? middle : "?", plot.blocks.line);
    }
    return line + "\n";
}

std::string labelsText(const Plot& plot) {
    std::string line = "    Hz ";
    for (size_t band = 0; band < kBands; ++band) {
        if (!hasLabel(plot, band)) continue;
        line.resize(std::max(line.size(), kScaleWidth + band * plot.bandWidth), ' ');
        line += bandLabel(band);
    }
    return line + "\n";
}

}  // namespace

double scaleOf(const Gains& gains) {
    double largest = 0;
    for (const double gain : gains) {
        if (std::isfinite(gain)) largest = std::max(largest, std::fabs(gain));
    }
    double scale = 3;
    while (scale < largest) scale = scale < 9 ? scale + 3 : scale * 2;
    return scale;
}

std::string plotGains(const Gains& gains, const Terminal& terminal) {
    const size_t room = terminal.columns > kScaleWidth ? (terminal.columns - kScaleWidth) / kBands : 0;
    const Plot plot{gains, terminal.utf8 ? kUtf8 : kAscii, scaleOf(gains) / static_cast<double>(kHalfHeight),
                    std::clamp(room, size_t{1}, kWidestBand)};
    std::string text;
    for (size_t row = kHalfHeight; row-- > 0;) text += rowText(plot, row, 1);
    text += lineText(plot);
    for (size_t row = 0; row < kHalfHeight; ++row) text += rowText(plot, row, -1);
    return text + labelsText(plot);
}

}  // namespace hidlaudio::client
