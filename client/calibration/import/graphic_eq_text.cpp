// SPDX-License-Identifier: Apache-2.0
#include "graphic_eq_text.h"

#include <android-base/strings.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "client/calibration/decimal.h"
#include "parse_number.h"
#include "text_tokens.h"

namespace hidlaudio::client {
namespace {

constexpr double kLowestPoint = 0.1;
constexpr double kHighestPoint = 1e6;

/** Minimum ratio of the frequencies of two points. Nearer points count as one frequency. */
constexpr double kNearest = 1 + 1e-9;

struct Point {
    double frequency = 0;
    double gain = 0;
};

std::string readPoint(std::string_view text, Point& point) {
    const std::vector<std::string> words = splitWords(text);
    if (words.size() != 2) return quote(trim(text)) + " is not a frequency with a gain";
    const ParsedNumber frequency = parseFrequency(words[0], kLowestPoint, kHighestPoint);
    const ParsedNumber gain = parseGain(words[1]);
    point = {frequency.value, gain.value};
    return frequency.reason.empty() ? gain.reason : frequency.reason;
}

std::string readPoints(std::string_view text, std::vector<Point>& points) {
    size_t number = 0;
    for (const std::string& piece : android::base::Split(std::string(text), ";")) {
        ++number;
        if (trim(piece).empty()) continue;
        Point point;
        const std::string reason = readPoint(piece, point);
        if (!reason.empty()) return "point " + std::to_string(number) + ": " + reason;
        points.push_back(point);
    }
    return points.empty() ? "the curve has no points" : "";
}

bool isBelow(const Point& a, const Point& b) {
    return a.frequency < b.frequency;
}

std::string sortPoints(std::vector<Point>& points) {
    std::sort(points.begin(), points.end(), isBelow);
    const auto twice = std::adjacent_find(points.begin(), points.end(), [](const Point& a, const Point& b) {
        return b.frequency < a.frequency * kNearest;
    });
    return twice == points.end() ? "" : "the curve has two points at " + shortText(twice->frequency) + " Hz";
}

double gainAt(const std::vector<Point>& points, double frequency) {
    const auto above = std::upper_bound(points.begin(), points.end(), Point{frequency, 0}, isBelow);
    if (above == points.begin()) return points.front().gain;
    if (above == points.end()) return points.back().gain;
    const Point& below = *(above - 1);
    const double part = std::log(frequency / below.frequency) / std::log(above->frequency / below.frequency);
    return below.gain + part * (above->gain - below.gain);
}

}  // namespace

std::string parseGraphicEq(std::string_view text, Gains& gains) {
    std::vector<Point> points;
    std::string reason = readPoints(text, points);
    if (reason.empty()) reason = sortPoints(points);
    if (!reason.empty()) return reason;
    for (size_t band = 0; band < kBands; ++band) gains[band] = gainAt(points, bandCenter(band));
    return "";
}

}  // namespace hidlaudio::client
