// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace com::tovi::dtv::hardware::audio::platform {

/**
 * The state of a service, for diagnosis: named values in named sections, in the order of the output.
 * Names consist of letters, digits and '_'. Any thread.
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

/** Returns an item that holds a number. `std::nullopt` means unknown. */
StateItem number(const char* name, std::optional<int64_t> value);

StateItem text(const char* name, std::string_view value);

/**
 * Returns the state as text for people: service and version, then one item per line, indented below its
 * section.
 */
std::string toText(const ServiceState& state);

/** Returns the state for programs: one JSON object and a newline. An unknown value is null. */
std::string toJson(const ServiceState& state);

/**
 * Returns the text as a quoted JSON string of printable ASCII characters, which is safe to print on a
 * terminal. Each byte beyond ASCII is replaced by U+FFFD.
 */
std::string quote(std::string_view text);

}  // namespace com::tovi::dtv::hardware::audio::platform
