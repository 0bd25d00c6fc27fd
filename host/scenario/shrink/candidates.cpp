// SPDX-License-Identifier: Apache-2.0
#include "candidates.h"

#include <android-base/strings.h>

#include <algorithm>
#include <cmath>
#include <set>

#include "host/program/parse_number.h"
#include "host/scenario/scenario_line.h"

namespace hidlaudio::host {
namespace {

using Kind = ScenarioLine::Kind;

/** Of a longer sequence, only pieces of at least 1/32 are removed, and its elements are not simplified. */
constexpr size_t kMaxPieces = 32;

struct Range {
    size_t begin;
    size_t end;
};

/** Returns the pieces to remove from a sequence: all of it, its halves, its quarters and so on. */
std::vector<Range> piecesOf(size_t count) {
    std::vector<Range> pieces;
    for (size_t size = count; size >= 1 && size * kMaxPieces >= count;
         size = size == 1 ? 0 : (size + 1) / 2) {
        for (size_t begin = 0; begin < count; begin += size)
            pieces.push_back({begin, std::min(begin + size, count)});
    }
    return pieces;
}

/** Returns numbers nearer to 0: 0, 1, and those that halve the way to the given one. */
template <typename Number>
std::vector<Number> smallerNumbers(Number number) {
    std::vector<Number> smaller;
    if (number != 0) smaller.push_back(0);
    if (number > 1) smaller.push_back(1);
    for (Number step = number / 2; step != 0; step /= 2) smaller.push_back(number - step);
    return smaller;
}

std::vector<double> smallerFractions(double number) {
    constexpr double kMaxExact = 1e15;
    if (std::abs(number) > kMaxExact) return {0, 1};
    const double whole = std::trunc(number);
    if (whole != number) return {0, 1, whole};
    const std::vector<int64_t> smaller = smallerNumbers(static_cast<int64_t>(whole));
    return {smaller.begin(), smaller.end()};
}

/** Returns "" and the halves of the text, cut between characters of UTF-8. */
std::vector<std::string> shorterTexts(const std::string& text) {
    if (text.empty()) return {};
    size_t middle = text.size() / 2;
    while (middle > 0 && (static_cast<unsigned char>(text[middle]) & 0xC0U) == 0x80U) --middle;
    if (middle == 0) return {""};
    return {"", text.substr(0, middle), text.substr(middle)};
}

std::vector<Json> simplerValues(const Json& value);

void addMembers(const Json& value, std::vector<Json>& simpler) {
    ptrdiff_t index = 0;
    for (const Json& member : value) {
        for (Json& each : simplerValues(member)) {
            simpler.push_back(value);
            *std::next(simpler.back().begin(), index) = std::move(each);
        }
        ++index;
    }
}

/** Returns the array or object without each of its pieces. */
std::vector<Json> shorterValues(const Json& value) {
    std::vector<Json> shorter;
    for (const Range& piece : piecesOf(value.size())) {
        Json copy = value;
        copy.erase(std::next(copy.begin(), static_cast<ptrdiff_t>(piece.begin)),
                   std::next(copy.begin(), static_cast<ptrdiff_t>(piece.end)));
        shorter.push_back(std::move(copy));
    }
    return shorter;
}

std::vector<Json> simplerArrays(const Json& array) {
    std::vector<Json> simpler = shorterValues(array);
    const auto isZero = [](const Json& each) { return each == 0; };
    const bool hasNumbers =
        std::all_of(array.begin(), array.end(), [](auto& each) { return each.is_number(); });
    if (array.size() > 1 && hasNumbers && !std::all_of(array.begin(), array.end(), isZero))
        simpler.push_back(std::vector<int>(array.size(), 0));
    if (array.size() <= kMaxPieces) addMembers(array, simpler);
    return simpler;
}

std::vector<Json> simplerDigits(const std::string& digits) {
    std::vector<Json> simpler;
    for (const Range& piece : piecesOf(digits.size() / 2))
        simpler.push_back(
            {{"hex", std::string(digits).erase(2 * piece.begin, 2 * (piece.end - piece.begin))}});
    if (!digits.empty()) simpler.push_back({{"size", digits.size() / 2}});
    return simpler;
}

std::vector<Json> simplerFiles(const Json& file) {
    std::vector<Json> simpler;
    simpler.push_back({{"size", 0}});
    if (file.contains("size")) simpler.push_back({{"size", file["size"]}});
    for (const char* member : {"size", "offset"}) {
        if (!file.contains(member)) continue;
        for (const Json& each : simplerValues(file[member])) {
            simpler.push_back(file);
            simpler.back()[member] = each;
        }
    }
    return simpler;
}

std::vector<Json> simplerStructs(const Json& object) {
    std::vector<Json> simpler = shorterValues(object);
    addMembers(object, simpler);
    return simpler;
}

/** Simplifies a struct, the bytes of a vector or an object of a client. */
std::vector<Json> simplerObjects(const Json& object) {
    const std::string first = object.empty() ? "" : object.begin().key();
    if (first == "object") return {nullptr};
    if (first == "hex" && object["hex"].is_string()) return simplerDigits(object["hex"]);
    if (first == "file") return simplerFiles(object);
    if (first != "size") return simplerStructs(object);
    std::vector<Json> simpler;
    addMembers(object, simpler);
    return simpler;
}

/** Returns simpler values, the simplest ones first. */
std::vector<Json> simplerValues(const Json& value) {
    const auto all = [](const auto& given) { return std::vector<Json>(given.begin(), given.end()); };
    if (value.is_number_float()) return all(smallerFractions(value));
    if (value.is_number_unsigned()) return all(smallerNumbers(value.get<uint64_t>()));
    if (value.is_number()) return all(smallerNumbers(value.get<int64_t>()));
    if (value.is_array()) return simplerArrays(value);
    if (value.is_object()) return simplerObjects(value);
    if (value == true) return {false};
    const bool isVariable = value.is_string() && value.get_ref<const std::string&>().rfind('$', 0) == 0;
    return value.is_string() && !isVariable ? all(shorterTexts(value)) : std::vector<Json>();
}

std::string textOf(ScenarioLine line) {
    formatCall(line);
    return line.text;
}

std::vector<std::string> simplerCalls(ScenarioLine line) {
    std::vector<std::string> simpler;
    if (line.background) {
        ScenarioLine foreground = line;
        foreground.background = false;
        simpler.push_back(textOf(foreground));
    }
    for (Json& arguments : simplerStructs(Json(line.call.arguments))) {
        line.call.arguments = std::move(arguments);
        simpler.push_back(textOf(line));
    }
    return simpler;
}

std::string joined(const std::vector<std::string>& words, bool background) {
    return android::base::Join(words, ' ') + (background ? " &" : "");
}

/** Returns the word with a smaller number, as in "7" or "delay=3000". */
std::vector<std::string> smallerWords(const std::string& word) {
    const size_t start = word.find('=') + 1;  // 0 if there is none
    const auto number = parseNumber<int64_t>(std::string_view(word).substr(start));
    std::vector<std::string> smaller;
    for (const int64_t each : smallerNumbers(number.value_or(0)))
        smaller.push_back(word.substr(0, start) + std::to_string(each));
    return smaller;
}

/** Removes arguments of a command, all of them and one or two neighbors, or makes them smaller. */
std::vector<std::string> simplerCommands(const ScenarioLine& line) {
    constexpr size_t kFirst = 2;
    const std::vector<std::string>& words = line.words;
    std::vector<std::string> simpler;
    for (const size_t size : {words.size() - kFirst, size_t{2}, size_t{1}}) {
        for (size_t begin = kFirst; begin + size <= words.size() && size > 0; ++begin) {
            std::vector<std::string> copy = words;
            const auto first = copy.begin() + static_cast<ptrdiff_t>(begin);
            copy.erase(first, first + static_cast<ptrdiff_t>(size));
            simpler.push_back(joined(copy, line.background));
        }
    }
    for (size_t i = kFirst; i < words.size(); ++i) {
        for (const std::string& smaller : smallerWords(words[i])) {
            std::vector<std::string> copy = words;
            copy[i] = smaller;
            simpler.push_back(joined(copy, line.background));
        }
    }
    return simpler;
}

std::vector<std::string> simplerContents(const ScenarioLine& line) {
    std::vector<std::string> simpler;
    if (line.words[2] != "hex" || line.content.empty()) return simpler;
    for (const Range& piece : piecesOf(line.content.size())) {
        std::string digits = line.words[3];
        digits.erase(2 * piece.begin, 2 * (piece.end - piece.begin));
        simpler.push_back("file " + line.words[1] + " hex" + (digits.empty() ? "" : " " + digits));
    }
    return simpler;
}

/** Replaces the uses of a variable in the value. Returns whether there are any. */
bool replaceVariable(Json& value, const std::string& use, int number) {
    if (value == use) {
        value = number;
        return true;
    }
    bool isUsed = false;
    if (value.is_structured()) {
        for (Json& member : value) isUsed = replaceVariable(member, use, number) || isUsed;
    }
    return isUsed;
}

std::vector<ScenarioLine> parsed(const ScenarioLines& texts) {
    std::vector<ScenarioLine> lines(texts.size());
    for (size_t i = 0; i < texts.size(); ++i) parseScenarioLine(texts[i], lines[i]);
    return lines;
}

/** Returns the scenario without line `at` and with `number` in place of its variable. */
ScenarioLines inlined(std::vector<ScenarioLine> lines, size_t at, int number) {
    const std::string use = "$" + lines[at].call.variable;
    bool isUsed = false;
    for (size_t i = at + 1; i < lines.size(); ++i) {
        if (!replaceVariable(lines[i].call.arguments, use, number)) continue;
        formatCall(lines[i]);
        isUsed = true;
    }
    ScenarioLines texts;
    for (const ScenarioLine& line : lines) texts.push_back(line.text);
    lines[at].call.variable.clear();
    if (isUsed) {
        texts.erase(texts.begin() + static_cast<ptrdiff_t>(at));
    } else {
        texts[at] = textOf(lines[at]);
    }
    return texts;
}

}  // namespace

std::vector<std::string> simplerLines(const std::string& text) {
    ScenarioLine line;
    if (!parseScenarioLine(text, line).empty()) return {};
    if (line.kind == Kind::Call) return simplerCalls(line);
    if (line.kind == Kind::Command) return simplerCommands(line);
    return line.kind == Kind::File ? simplerContents(line) : std::vector<std::string>();
}

std::vector<ScenarioLines> withoutVariable(const ScenarioLines& texts) {
    const std::vector<ScenarioLine> lines = parsed(texts);
    std::vector<ScenarioLines> candidates;
    for (size_t i = 0; i < lines.size(); ++i) {
        if (lines[i].call.variable.empty()) continue;
        for (const int number : {0, 1}) candidates.push_back(inlined(lines, i, number));
    }
    return candidates;
}

ScenarioLines withoutOrphans(const ScenarioLines& texts) {
    std::set<std::string> stored;
    ScenarioLines kept;
    for (const ScenarioLine& line : parsed(texts)) {
        const std::set<std::string> used = variablesIn(line.call.arguments);
        if (!std::includes(stored.begin(), stored.end(), used.begin(), used.end())) continue;
        if (!line.call.variable.empty()) stored.insert(line.call.variable);
        kept.push_back(line.text);
    }
    return kept;
}

}  // namespace hidlaudio::host
