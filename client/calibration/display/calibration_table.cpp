// SPDX-License-Identifier: Apache-2.0
#include "calibration_table.h"

#include <stdio.h>

#include <algorithm>

#include "client/calibration/applied_values.h"

namespace hidlaudio::client {
namespace {

constexpr size_t kRows = 2 + kBands;  // level, delay, the bands
constexpr size_t kLabelWidth = 9;
constexpr size_t kColumnWidth = 21;
constexpr size_t kColumnsAtATime = 3;  // fits 80 characters

/** Channels with the same values. */
struct Column {
    std::string names;
    ChannelCalibration requested, applied;
};

std::string padLeft(const std::string& text, size_t width) {
    return std::string(width - std::min(width, text.size()), ' ') + text;
}

std::string padRight(const std::string& text, size_t width) {
    return text + std::string(width - std::min(width, text.size()), ' ');
}

/** Returns the value with up to three decimals, without trailing zeros. */
std::string decimals(double value) {
    char text[400];
    snprintf(text, sizeof(text), "%.3f", value);
    std::string result = text;
    result.erase(result.find_last_not_of('0') + 1);
    if (result.back() == '.') result.pop_back();
    return result == "-0" ? "0" : result;
}

std::string withSign(double value) {
    return (value > 0 ? "+" : "") + decimals(value);
}

std::string labelOf(size_t row) {
    if (row < 2) return row == 0 ? "level dB" : "delay ms";
    return bandLabel(row - 2) + " Hz";
}

double valueOf(const ChannelCalibration& channel, size_t row) {
    if (row < 2) return row == 0 ? channel.level : channel.delay;
    return channel.gains[row - 2];
}

bool isRounded(const Column& column, size_t row) {
    return differs(valueOf(column.requested, row), valueOf(column.applied, row));
}

bool hasRounded(const Column& column) {
    size_t row = 0;
    while (row < kRows && !isRounded(column, row)) ++row;
    return row < kRows;
}

std::vector<Column> columnsOf(const Calibration& calibration) {
    std::vector<Column> columns;
    for (const ChannelCalibration& channel : calibration) {
        const auto same = std::find_if(columns.begin(), columns.end(), [&channel](const Column& column) {
            return column.requested.level == channel.level && column.requested.delay == channel.delay &&
                   column.requested.gains == channel.gains;
        });
        const Column column{channel.channel, channel, appliedValues(channel)};
        if (same != columns.end()) {
            same->names += "," + channel.channel;
        } else if (hasRounded(column)) {
            columns.push_back(column);
        }
    }
    return columns;
}

std::string rowText(const std::vector<Column>& columns, size_t row) {
    std::string line;
    for (const Column& column : columns) {
        const bool rounded = isRounded(column, row);
        line += padLeft(rounded ? decimals(valueOf(column.requested, row)) : "", kColumnWidth / 2 + 1) +
                padLeft(rounded ? decimals(valueOf(column.applied, row)) : "", kColumnWidth / 2);
    }
    if (line.find_first_not_of(' ') == std::string::npos) return "";
    return padRight(labelOf(row), kLabelWidth) + line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
}

std::string blockText(const std::vector<Column>& columns) {
    std::string names(kLabelWidth, ' ');
    std::string heads(kLabelWidth, ' ');
    for (const Column& column : columns) {
        names += padLeft(column.names, kColumnWidth);
        heads += padLeft("requested", kColumnWidth / 2 + 1) + padLeft("applied", kColumnWidth / 2);
    }
    std::string text = names + "\n" + heads + "\n";
    for (size_t row = 0; row < kRows; ++row) text += rowText(columns, row);
    return text;
}

}  // namespace

std::string roundingTable(const Calibration& calibration) {
    const std::vector<Column> columns = columnsOf(calibration);
    std::string text;
    for (size_t first = 0; first < columns.size(); first += kColumnsAtATime) {
        const auto begin = columns.begin() + static_cast<std::ptrdiff_t>(first);
        const auto count = static_cast<std::ptrdiff_t>(std::min(kColumnsAtATime, columns.size() - first));
        text += (text.empty() ? "" : "\n") + blockText({begin, begin + count});
    }
    return text;
}

std::string summarize(const Calibration& calibration) {
    std::string text;
    for (const ChannelCalibration& channel : calibration) {
        const auto [least, most] = std::minmax_element(channel.gains.begin(), channel.gains.end());
        text += padRight(channel.channel, 4) + "  level " + withSign(channel.level) + " dB, delay " +
                decimals(channel.delay) + " ms, equalizer " + withSign(*least) + " to " + withSign(*most) +
                " dB" + useOf(channel.channel) + "\n";
    }
    return text;
}

std::string useOf(const std::string& channel) {
    if (channel == "FL") return "";
    return channel == "FR" ? "; only the delay is used" : "; not used";
}

}  // namespace hidlaudio::client
