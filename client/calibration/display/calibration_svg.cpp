// SPDX-License-Identifier: Apache-2.0
#include "calibration_svg.h"

#include <android-base/stringprintf.h>

#include <algorithm>
#include <cmath>

#include "calibration_plot.h"
#include "client/calibration/decimal.h"

namespace hidlaudio::client {
namespace {

using android::base::StringPrintf;

// Coordinates in the picture. The legend is to the right of the curves.
constexpr double kWidth = 960;
constexpr double kHeight = 480;
constexpr double kLeft = 70;
constexpr double kTop = 50;
constexpr double kRight = 800;
constexpr double kBottom = 410;
constexpr double kLegendStep = 42;

// Color-blind people can distinguish these colors.
constexpr const char* kColors[] = {"#0072b2", "#d55e00", "#009e73", "#cc79a7", "#e69f00",
                                   "#56b4e9", "#000000", "#7f3c8d", "#888888"};

double xOf(size_t band) {
    return kLeft + (kRight - kLeft) * (static_cast<double>(band) + 0.5) / static_cast<double>(kBands);
}

double yOf(double gain, double scale) {
    return kTop + (kBottom - kTop) * (scale - gain) / (2 * scale);
}

/** Escapes XML's special characters, and replaces all but visible ASCII by '?'. */
std::string escape(const std::string& name) {
    std::string text;
    for (const char c : name) {
        if (c <= ' ' || c > '~') {
            text += '?';
        } else if (c == '<' || c == '&' || c == '>' || c == '"') {
            text += StringPrintf("&#%d;", c);
        } else {
            text += c;
        }
    }
    return text;
}

std::string textAt(double x, double y, const char* attributes, const std::string& text) {
    return StringPrintf("<text x=\"%.1f\" y=\"%.1f\"%s>%s</text>\n", x, y, attributes, text.c_str());
}

std::string lineAt(double x1, double y1, double x2, double y2, const char* color) {
    return StringPrintf("<line x1=\"%.1f\" y1=\"%.1f\" x2=\"%.1f\" y2=\"%.1f\" stroke=\"%s\"/>\n", x1, y1, x2,
                        y2, color);
}

std::string gainAxis(double scale) {
    std::string svg;
    for (int step = -3; step <= 3; ++step) {
        const double gain = scale * step / 3;
        const double y = yOf(gain, scale);
        svg += lineAt(kLeft, y, kRight, y, step == 0 ? "#444" : "#ddd");
        svg += textAt(kLeft - 8, y + 4, " text-anchor=\"end\"", signedText(gain, 0));
    }
    const std::string turned =
        StringPrintf(" text-anchor=\"middle\" transform=\"rotate(-90 22 %.0f)\"", (kTop + kBottom) / 2);
    return svg + textAt(22, (kTop + kBottom) / 2, turned.c_str(), "Gain in dB");
}

std::string frequencyAxis() {
    std::string svg;
    for (size_t band = 0; band < kBands; ++band) {
        svg += lineAt(xOf(band), kTop, xOf(band), kBottom, band % 3 == 2 ? "#ddd" : "#f2f2f2");
        const std::string turned =
            StringPrintf(" text-anchor=\"end\" font-size=\"11\" transform=\"rotate(-60 %.1f %.1f)\"",
                         xOf(band) + 4, kBottom + 14);
        svg += textAt(xOf(band) + 4, kBottom + 14, turned.c_str(), bandLabel(band));
    }
    return svg + textAt((kLeft + kRight) / 2, kBottom + 58, " text-anchor=\"middle\"",
                        "Frequency in Hz, third octaves");
}

/** Every second curve is dashed, so that a curve with the same gains below it stays visible. */
std::string strokeOf(size_t index) {
    return StringPrintf("stroke=\"%s\" stroke-width=\"2\"%s", kColors[index % std::size(kColors)],
                        index % 2 == 1 ? " stroke-dasharray=\"7 5\"" : "");
}

std::string curve(const ChannelCalibration& channel, size_t index, double scale) {
    std::string points;
    for (size_t band = 0; band < kBands; ++band) {
        const double gain = channel.gains[band];
        if (std::isfinite(gain)) points += StringPrintf("%.1f,%.1f ", xOf(band), yOf(gain, scale));
    }
    return StringPrintf("<polyline fill=\"none\" %s points=\"%s\"/>\n", strokeOf(index).c_str(),
                        points.c_str());
}

std::string legend(const ChannelCalibration& channel, size_t index) {
    const double y = kTop + 12 + kLegendStep * static_cast<double>(index);
    return StringPrintf("<line x1=\"%.0f\" y1=\"%.0f\" x2=\"%.0f\" y2=\"%.0f\" %s/>\n", kRight + 16, y,
                        kRight + 46, y, strokeOf(index).c_str()) +
           textAt(kRight + 54, y + 4, " font-weight=\"bold\"", escape(channel.channel)) +
           textAt(kRight + 16, y + 20, " font-size=\"11\"",
                  signedText(channel.level, 1) + " dB, " + shortText(channel.delay) + " ms");
}

double commonScale(const Calibration& calibration) {
    double scale = 3;
    for (const ChannelCalibration& channel : calibration) scale = std::max(scale, scaleOf(channel.gains));
    return scale;
}

}  // namespace

std::string drawCalibration(const Calibration& calibration) {
    std::string svg = StringPrintf(
        "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 %.0f %.0f\" width=\"%.0f\" height=\"%.0f\" "
        "font-family=\"sans-serif\" font-size=\"13\" fill=\"#222\" role=\"img\">\n"
        "<title>Acoustic calibration</title>\n"
        "<rect width=\"100%%\" height=\"100%%\" fill=\"#fff\"/>\n",
        kWidth, kHeight, kWidth, kHeight);
    svg += textAt(kLeft, kTop - 20, " font-size=\"16\"", "Acoustic calibration");
    const double scale = commonScale(calibration);
    svg += frequencyAxis() + gainAxis(scale);
    for (size_t i = 0; i < calibration.size(); ++i)
        svg += curve(calibration[i], i, scale) + legend(calibration[i], i);
    return svg + "</svg>\n";
}

}  // namespace hidlaudio::client
