// SPDX-License-Identifier: Apache-2.0
#include "state_dump.h"

#include <stdio.h>

#include "version.h"

namespace com::tovi::dtv::hardware::audio::platform {
namespace {

constexpr char kReplacement[] = "\\ufffd";

std::string quoteByte(unsigned char byte) {
    if (byte == '"' || byte == '\\') return {'\\', static_cast<char>(byte)};
    if (byte > 0x7F) return kReplacement;
    if (byte >= ' ' && byte < 0x7F) return {static_cast<char>(byte)};
    char escaped[8];
    snprintf(escaped, sizeof(escaped), "\\u%04x", byte);
    return escaped;
}

std::string itemAsJson(const StateItem& item) {
    switch (item.kind) {
        case StateItem::Kind::Literal:
            return item.value;
        case StateItem::Kind::Text:
            return quote(item.value);
        case StateItem::Kind::Unknown:
            break;
    }
    return "null";
}

std::string sectionAsJson(const StateSection& section) {
    std::string json;
    for (const StateItem& item : section.items) {
        json += (json.empty() ? "" : ",") + quote(item.name) + ":" + itemAsJson(item);
    }
    return "{" + json + "}";
}

}  // namespace

StateItem yesNo(const char* name, bool value) {
    return {name, StateItem::Kind::Literal, value ? "true" : "false"};
}

StateItem number(const char* name, std::optional<int64_t> value) {
    if (!value) return {name, StateItem::Kind::Unknown, ""};
    return {name, StateItem::Kind::Literal, std::to_string(*value)};
}

StateItem text(const char* name, std::string_view value) {
    return {name, StateItem::Kind::Text, std::string(value)};
}

std::string toText(const ServiceState& state) {
    std::string text = std::string(state.service) + " (hidlaudio " + kVersion + ")\n";
    for (const StateSection& section : state.sections) {
        text += "  " + section.name + "\n";
        for (const StateItem& item : section.items) {
            const bool known = item.kind != StateItem::Kind::Unknown;
            text += "    " + item.name + ": " + (known ? item.value : "unknown") + "\n";
        }
    }
    return text;
}

std::string toJson(const ServiceState& state) {
    std::string json = R"({"service":)" + quote(state.service) + R"(,"version":)" + quote(kVersion);
    for (const StateSection& section : state.sections) {
        json += "," + quote(section.name) + ":" + sectionAsJson(section);
    }
    return json + "}\n";
}

std::string quote(std::string_view text) {
    std::string quoted;
    for (const char byte : text) quoted += quoteByte(static_cast<unsigned char>(byte));
    return '"' + quoted + '"';
}

}  // namespace com::tovi::dtv::hardware::audio::platform
