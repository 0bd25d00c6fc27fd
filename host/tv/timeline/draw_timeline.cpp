// SPDX-License-Identifier: Apache-2.0
#include <android-base/stringprintf.h>

#include <algorithm>
#include <cmath>

#include "timeline.h"

namespace hidlaudio::host {
namespace {

using android::base::StringAppendF;
using android::base::StringPrintf;

// In pixels.
constexpr double kLeft = 230;
constexpr double kWidth = 1170;
constexpr double kTop = 60;
constexpr double kRow = 18;
constexpr double kGap = 8;
constexpr double kLetter = 6.5;
constexpr double kMinBar = 1.5;
constexpr double kMargin = 30;
constexpr int kTicks = 10;

// Color-blind people can distinguish these colors.
constexpr const char* kCallColor = "#56b4e9";
constexpr const char* kOutgoingColor = "#009e73";
constexpr const char* kWaitColor = "#f0e442";
constexpr const char* kUploadColor = "#cc79a7";
constexpr const char* kBadColor = "#d55e00";

struct LegendEntry {
    const char* color;
    const char* text;
};
constexpr LegendEntry kLegend[] = {
    {kCallColor, "call of a client"},      {kOutgoingColor, "call of the daemon: callback, audio HAL"},
    {kWaitColor, "client waits for that"}, {kUploadColor, "upload"},
    {kBadColor, "failed, or no answer"},
};

struct Scale {
    double from;
    double to;

    double x(double time) const {
        const double part = (std::clamp(time, from, to) - from) / (to - from);
        return kLeft + kWidth * part;
    }
};

/** Escapes XML's special characters, and replaces control characters, which XML does not allow. */
std::string escape(const std::string& text) {
    std::string escaped;
    for (const char c : text) {
        if (static_cast<unsigned char>(c) < 0x20 && c != '\n') {
            escaped += '?';
        } else if (c == '<' || c == '&' || c == '>' || c == '"') {
            StringAppendF(&escaped, "&#%d;", c);
        } else {
            escaped += c;
        }
    }
    return escaped;
}

const char* colorOf(const Bar& bar) {
    constexpr const char* kColors[] = {kCallColor, kOutgoingColor, kWaitColor, kUploadColor};
    return bar.outcome == Bar::Outcome::Done ? kColors[static_cast<int>(bar.kind)] : kBadColor;
}

size_t rowsOf(const Lane& lane) {
    size_t rows = 1;
    for (const Bar& bar : lane.bars) rows = std::max(rows, bar.depth + 1);
    return rows;
}

std::string describe(const Bar& bar) {
    constexpr const char* kOutcomes[] = {"", ", failed", ", no answer: the daemon ended"};
    using Json = nlohmann::ordered_json;
    return StringPrintf("%s%s\n%.6f s, %.3f ms\n%s", bar.name.c_str(),
                        kOutcomes[static_cast<int>(bar.outcome)], bar.begin, (bar.end - bar.begin) * 1000,
                        bar.details.dump(-1, ' ', false, Json::error_handler_t::replace).c_str());
}

std::string drawBar(const Bar& bar, const Scale& scale, double y) {
    const double x = scale.x(bar.begin);
    const double width = std::max(scale.x(bar.end) - x, kMinBar);
    const double top = y + kRow * static_cast<double>(bar.depth);
    std::string svg = StringPrintf(
        "<g><title>%s</title><rect x=\"%.2f\" y=\"%.1f\" width=\"%.2f\" height=\"%.0f\" fill=\"%s\"/>",
        escape(describe(bar)).c_str(), x, top, width, kRow - 2, colorOf(bar));
    const auto letters = static_cast<size_t>(width / kLetter);
    if (letters >= bar.name.size())
        StringAppendF(&svg, "<text x=\"%.2f\" y=\"%.1f\">%s</text>", x + 2, top + 12,
                      escape(bar.name).c_str());
    return svg + "</g>\n";
}

std::string drawMark(const Mark& mark, const Scale& scale, double y) {
    const double x = scale.x(mark.time);
    const bool isRight = x > kLeft + kWidth / 2;
    return StringPrintf(
        "<path d=\"M%.2f %.1f v%.0f\" stroke=\"#000\" stroke-width=\"2\"/>"
        "<text x=\"%.2f\" y=\"%.1f\"%s font-weight=\"bold\">%s</text>\n",
        x, y, kRow, isRight ? x - 3 : x + 3, y + 12, isRight ? " text-anchor=\"end\"" : "",
        escape(mark.name).c_str());
}

std::string drawLane(const Lane& lane, const Scale& scale, double y) {
    std::string svg = StringPrintf("<text x=\"%.0f\" y=\"%.1f\" text-anchor=\"end\">%s</text>\n", kLeft - 8,
                                   y + 12, escape(lane.name).c_str());
    for (const Bar& bar : lane.bars) svg += drawBar(bar, scale, y);
    for (const Mark& mark : lane.marks) svg += drawMark(mark, scale, y);
    return svg;
}

/** Returns the least of 1, 2 and 5 times a power of ten that divides the scale into at most kTicks parts. */
double tickOf(const Scale& scale) {
    const double step = (scale.to - scale.from) / kTicks;
    const double power = std::pow(10.0, std::floor(std::log10(step)));
    for (const double factor : {1.0, 2.0, 5.0}) {
        if (step <= factor * power * (1 + 1e-9)) return factor * power;
    }
    return 10 * power;
}

std::string drawAxis(const Scale& scale, double height) {
    std::string svg;
    const double step = tickOf(scale);
    const int digits = std::clamp(static_cast<int>(std::ceil(-std::log10(step) - 1e-9)), 0, 6);
    const auto first = static_cast<int64_t>(std::ceil(scale.from / step - 1e-9));
    const auto last = static_cast<int64_t>(std::floor(scale.to / step + 1e-9));
    for (int64_t i = first; i <= last; ++i) {
        const double time = step * static_cast<double>(i);
        StringAppendF(&svg,
                      "<path d=\"M%.2f %.0f V%.1f\" stroke=\"#ddd\"/>"
                      "<text x=\"%.2f\" y=\"%.0f\" text-anchor=\"middle\">%.*f s</text>\n",
                      scale.x(time), kTop - 8, height, scale.x(time), kTop - 12, digits, time);
    }
    return svg;
}

std::string drawLegend() {
    std::string svg;
    double x = kLeft;
    for (const LegendEntry& entry : kLegend) {
        StringAppendF(&svg,
                      "<rect x=\"%.0f\" y=\"10\" width=\"12\" height=\"12\" fill=\"%s\"/>"
                      "<text x=\"%.0f\" y=\"20\">%s</text>\n",
                      x, entry.color, x + 16, entry.text);
        x += 36 + kLetter * static_cast<double>(std::string(entry.text).size());
    }
    return svg;
}

}  // namespace

std::string drawTimeline(const Timeline& timeline, double from, double to) {
    const Scale scale{from, to};
    double y = kTop;
    std::string lanes;
    for (const Lane& lane : timeline.lanes) {
        lanes += drawLane(lane, scale, y);
        y += kRow * static_cast<double>(rowsOf(lane)) + kGap;
    }
    return StringPrintf(
               "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%.0f\" height=\"%.0f\" "
               "font-family=\"sans-serif\" font-size=\"11\">\n"
               "<rect width=\"100%%\" height=\"100%%\" fill=\"#fff\"/>\n",
               kLeft + kWidth + kMargin, y + kMargin) +
           drawLegend() + drawAxis(scale, y) + lanes + "</svg>\n";
}

}  // namespace hidlaudio::host
