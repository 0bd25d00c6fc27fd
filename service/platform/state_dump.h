// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace com::tovi::dtv::hardware::audio::platform {

/**
 * The state of a service, for finding a fault: named values in named sections, in the order
 * in which they are read best. Names consist of letters, digits and '_'. Any thread.
 */
struct StateItem {
    enum class Kind { Literal, Text, Unknown };

    std::string name;
    Kind kind;
    std::string value;  // empty for Unknown
};

struct StateSection {
    std::string name;
    std::vector<StateItem> items;
};

struct ServiceState {
    const char* service;
    std::vector<StateSection> sections;
};

StateItem yesNo(const char* name, bool value);
/** Nothing is a number that cannot be told. */
StateItem number(const char* name, std::optional<int64_t> value);
StateItem text(const char* name, std::string_view value);

/** Returns the state for a person: service and version, then an item a line, indented below its section. */
std::string toText(const ServiceState& state);

/** Returns the state for a program: one JSON object and a newline; an unknown value is null. */
std::string toJson(const ServiceState& state);

/**
 * The text in quotes, as JSON has it, in printable ASCII: safe for a terminal, too. A
 * byte beyond ASCII becomes U+FFFD.
 */
std::string quote(std::string_view text);

}  // namespace com::tovi::dtv::hardware::audio::platform
