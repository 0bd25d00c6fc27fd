// SPDX-License-Identifier: Apache-2.0
#include "pattern.h"

#include <math.h>

#include <optional>
#include <string>
#include <vector>

#include "host/program/parse_number.h"

namespace hidlaudio::host {
namespace {

constexpr const char* kParameterTypes[] = {"DEVICE", "HRTF"};

struct Field {
    std::string name;
    std::string_view kind;
};

std::string_view trimmed(std::string_view text) {
    const size_t end = text.find_last_not_of(" \n\r");
    return text.substr(0, end == std::string_view::npos ? 0 : end + 1);
}

std::optional<Json> parseFloat(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    const auto number = parseNumber<double>(text);
    if (!number) return std::nullopt;
    if (isfinite(*number)) return *number;
    return isnan(*number) ? "NaN" : *number > 0 ? "Infinity" : "-Infinity";
}

template <typename Integer>
std::optional<Json> parseInteger(std::string_view text, int base) {
    const auto number = parseNumber<Integer>(text, base);
    return number ? std::optional<Json>(*number) : std::nullopt;
}

std::optional<Json> parseParameterType(std::string_view text) {
    const auto number = parseNumber<int32_t>(text);
    if (!number) return std::nullopt;
    if (*number == 0 || *number == 1) return kParameterTypes[*number];
    return *number;
}

std::optional<Json> parseChoice(std::string_view choices, std::string_view text) {
    for (int i = 0;; ++i) {
        const size_t end = choices.find('|');
        if (choices.substr(0, end) == text) return i;
        if (end == std::string_view::npos) return std::nullopt;
        choices.remove_prefix(end + 1);
    }
}

std::optional<Json> parseValue(std::string_view kind, std::string_view text) {
    if (kind == "i") return parseInteger<int64_t>(text, 10);
    if (kind == "x") return parseInteger<uint32_t>(text, 16);
    if (kind == "f") return parseFloat(text);
    if (kind == "s") return std::string(text);
    if (kind == "p") return parseParameterType(text);
    if (kind != "b") return parseChoice(kind, text);
    if (text != "0" && text != "1") return std::nullopt;
    return text == "1";
}

void store(const std::string& name, const Json& value, Json& fields) {
    if (name.empty()) return;
    if (name.back() == '+') {
        fields[name.substr(0, name.size() - 1)].push_back(value);
    } else {
        fields[Json::json_pointer("/" + name)] = value;
    }
}

/** Removes "{name:kind}" from the begin of the pattern. */
Field takeField(std::string_view& pattern) {
    const size_t end = pattern.find('}');
    const size_t colon = pattern.find(':');
    const Field field{std::string(pattern.substr(1, colon - 1)), pattern.substr(colon + 1, end - colon - 1)};
    pattern.remove_prefix(end + 1);
    return field;
}

}  // namespace

bool matchPattern(std::string_view pattern, std::string_view text, Json& fields) {
    pattern = trimmed(pattern);
    text = trimmed(text);
    std::vector<std::pair<std::string, Json>> found;
    for (;;) {
        const size_t brace = std::min(pattern.find('{'), pattern.size());
        if (text.substr(0, brace) != pattern.substr(0, brace)) return false;
        text.remove_prefix(brace);
        pattern.remove_prefix(brace);
        if (pattern.empty()) break;
        const Field field = takeField(pattern);
        const std::string_view literal = pattern.substr(0, pattern.find('{'));
        // The last field may contain the text that follows it.
        const bool isLast = literal.size() == pattern.size();
        const size_t end = literal.empty() ? text.size() : isLast ? text.rfind(literal) : text.find(literal);
        if (end == std::string_view::npos) return false;
        const std::optional<Json> value = parseValue(field.kind, text.substr(0, end));
        if (!value) return false;
        found.emplace_back(field.name, *value);
        text.remove_prefix(end);
    }
    if (!text.empty()) return false;
    for (const auto& [name, value] : found) store(name, value, fields);
    return true;
}

int64_t integerOf(const Json& object, const char* member, int64_t fallback) {
    const auto found = object.find(member);
    return found != object.end() && found->is_number_integer() ? found->get<int64_t>() : fallback;
}

bool matchPattern(std::string_view pattern, std::string_view text) {
    Json fields;
    return matchPattern(pattern, text, fields);
}

}  // namespace hidlaudio::host
