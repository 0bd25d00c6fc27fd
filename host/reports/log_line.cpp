// SPDX-License-Identifier: Apache-2.0
#include "log_line.h"

#include <stdio.h>
#include <time.h>

#include <algorithm>
#include <iterator>

#include "host/program/parse_number.h"

namespace hidlaudio::host {
namespace {

constexpr int64_t kSecond = 1000000;
constexpr int64_t kDay = 86400 * kSecond;
/** Days before each month of a leap year. */
constexpr int64_t kDaysBefore[] = {0, 31, 60, 91, 121, 152, 182, 213, 244, 274, 305, 335, 366};
constexpr std::string_view kLevels = "VDIWEFS";

bool isDigit(char byte) {
    return byte >= '0' && byte <= '9';
}

bool isLevel(char byte) {
    return kLevels.find(byte) != std::string_view::npos;
}

/** Removes the next word and the blanks after it. */
std::string_view takeWord(std::string_view& text) {
    const size_t end = std::min(text.find(' '), text.size());
    const std::string_view word = text.substr(0, end);
    text.remove_prefix(std::min(text.find_first_not_of(' ', end), text.size()));
    return word;
}

/** Reads the digits after a point as microseconds. Returns -1 if there are none. */
int64_t takeFraction(std::string_view& text) {
    if (text.size() < 2 || text[0] != '.' || !isDigit(text[1])) return -1;
    text.remove_prefix(1);
    int64_t value = 0;
    int64_t unit = kSecond;
    for (; !text.empty() && isDigit(text[0]); text.remove_prefix(1)) {
        unit /= 10;
        value += (text[0] - '0') * unit;
    }
    return value;
}

/** Reads "11-26 13:02:02", with or without a year before it, or seconds since 1970. */
bool takeDate(std::string_view& text, tm& date) {
    char begin[32]{};
    text.copy(begin, sizeof(begin) - 1);
    for (const char* const format : {"%m-%d %H:%M:%S", "%Y-%m-%d %H:%M:%S"}) {
        const char* const end = strptime(begin, format, &date);
        if (end == nullptr) continue;
        text.remove_prefix(static_cast<size_t>(end - begin));
        return true;
    }
    const size_t digits = std::min(text.find_first_not_of("0123456789"), text.size());
    const auto seconds = parseNumber<uint32_t>(text.substr(0, digits));
    if (!seconds) return false;
    const time_t time = *seconds;
    gmtime_r(&time, &date);
    text.remove_prefix(digits);
    return true;
}

/** Reads a date with a fraction of the second, perhaps a time zone, and the blanks after them. */
bool takeTime(std::string_view& text, int64_t& time) {
    tm date{};
    if (!takeDate(text, date)) return false;
    const int64_t fraction = takeFraction(text);
    if (fraction < 0 || text.empty() || text[0] != ' ') return false;
    const int64_t days = kDaysBefore[date.tm_mon] + date.tm_mday - 1;
    time = days * kDay + (date.tm_hour * 3600 + date.tm_min * 60 + date.tm_sec) * kSecond + fraction;
    takeWord(text);
    if (text.size() > 5 && (text[0] == '+' || text[0] == '-') && text[5] == ' ') takeWord(text);
    return true;
}

bool takeId(std::string_view word, pid_t& id) {
    const auto number = parseNumber<pid_t>(word);
    if (!number || *number < 0) return false;
    id = *number;
    return true;
}

std::string_view withoutBlanks(std::string_view text) {
    const size_t begin = std::min(text.find_first_not_of(' '), text.size());
    const size_t end = text.find_last_not_of(' ');
    return end == std::string_view::npos ? std::string_view() : text.substr(begin, end + 1 - begin);
}

/** Splits "tag     : text". A tag has no colon that a blank follows. */
bool takeTag(std::string_view text, LogcatLine& line) {
    size_t colon = text.find(':');
    while (colon != std::string_view::npos && colon + 1 < text.size() && text[colon + 1] != ' ')
        colon = text.find(':', colon + 1);
    if (colon == std::string_view::npos) return false;
    line.tag = withoutBlanks(text.substr(0, colon));
    line.text = text.substr(std::min(colon + 2, text.size()));
    return true;
}

/** Parses "D/tag     ( 123): text". */
bool parseBrief(std::string_view text, LogcatLine& line) {
    size_t close = text.find("): ");
    if (close == std::string_view::npos && text.size() > 1 && text.substr(text.size() - 2) == "):")
        close = text.size() - 2;
    const size_t open = close == std::string_view::npos ? close : text.rfind('(', close);
    if (open == std::string_view::npos || open < 2) return false;
    if (!takeId(withoutBlanks(text.substr(open + 1, close - open - 1)), line.process)) return false;
    line.thread = line.process;
    line.level = text[0];
    line.tag = withoutBlanks(text.substr(2, open - 2));
    line.text = text.substr(std::min(close + 3, text.size()));
    return true;
}

/** Parses "[user] process thread D tag     : text". */
bool parseThread(std::string_view text, LogcatLine& line) {
    std::string_view words[2];
    for (;;) {
        const std::string_view word = takeWord(text);
        if (word.empty()) return false;
        if (word.size() == 1 && isLevel(word[0]) && takeId(words[1], line.thread)) {
            line.level = word[0];
            return takeId(words[0], line.process) && takeTag(text, line);
        }
        const bool isUser = words[0].empty() && words[1].empty();
        if (!isUser && !isDigit(word[0])) return false;
        words[0] = words[1];
        words[1] = word;
    }
}

bool isBrief(std::string_view text) {
    return text.size() > 1 && isLevel(text[0]) && text[1] == '/';
}

}  // namespace

bool parseLogLine(std::string_view text, LogcatLine& line) {
    if (!text.empty() && text.back() == '\r') text.remove_suffix(1);
    line.time = kNoTime;
    if (isBrief(text)) return parseBrief(text, line);
    if (text.empty() || !isDigit(text[0]) || !takeTime(text, line.time)) return false;
    return isBrief(text) ? parseBrief(text, line) : parseThread(text, line);
}

std::string textOf(const LogcatLine& line) {
    return line.level + (" " + std::string(line.tag)) + ": " + std::string(line.text);
}

std::string formatLogLine(const LogcatLine& line) {
    const int64_t time = std::max<int64_t>(line.time, 0) % (366 * kDay);
    const int64_t day = time / kDay;
    const auto* const month = std::upper_bound(std::begin(kDaysBefore), std::end(kDaysBefore), day) - 1;
    const auto second = static_cast<int>(time % kDay / kSecond);
    char header[100];
    snprintf(header, sizeof(header), "%02d-%02d %02d:%02d:%02d.%03d %5d %5d %c ",
             static_cast<int>(month - kDaysBefore) + 1, static_cast<int>(day - *month) + 1, second / 3600,
             second / 60 % 60, second % 60, static_cast<int>(time % kSecond / 1000), line.process,
             line.thread, line.level);
    std::string tag(line.tag);
    tag.resize(std::max<size_t>(tag.size(), 8), ' ');
    return header + tag + ": " + std::string(line.text) + "\n";
}

}  // namespace hidlaudio::host
