// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

namespace hidlaudio::host {

using Json = nlohmann::ordered_json;

/**
 * Parses JSON that another program has written. Returns a discarded value, which is neither null nor an
 * object, if the text is not JSON or has more than 100 levels: nlohmann-json calls itself for each level when
 * it copies or prints a value, and could run out of stack.
 */
inline Json parseJson(std::string_view text) {
    constexpr int kDeepest = 100;
    bool isDeep = false;
    const auto check = [&isDeep](int depth, Json::parse_event_t, const Json&) {
        isDeep = isDeep || depth > kDeepest;
        return !isDeep;
    };
    Json json = Json::parse(text.begin(), text.end(), check, false);
    return isDeep ? Json(Json::value_t::discarded) : json;
}

/** Returns the JSON text. Bytes that are not UTF-8, as in the output of a crashed program, are replaced. */
template <typename AnyJson>
std::string jsonText(const AnyJson& json, int indent = -1) {
    return json.dump(indent, ' ', false, AnyJson::error_handler_t::replace);
}

}  // namespace hidlaudio::host
