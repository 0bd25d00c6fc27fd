// SPDX-License-Identifier: Apache-2.0
#include "values.h"

#include <math.h>
#include <stdlib.h>

#include <charconv>

#include "recorder/utf8.h"

namespace hidlaudio::hidl_json {
namespace {

/** Returns the text of a number that JSON does not have. */
const char* notFinite(double value) {
    if (isnan(value)) return "NaN";
    return value > 0 ? "Infinity" : "-Infinity";
}

}  // namespace

bool fail(Reading& reading, const std::string& problem) {
    reading.problem = problem;
    return false;
}

bool failWithin(Reading& reading, const std::string& name) {
    const bool isPath = reading.problem.find(": ") != std::string::npos;
    const char* const between = !isPath ? ": " : reading.problem[0] == '[' ? "" : ".";
    reading.problem = name + between + reading.problem;
    return false;
}

bool isObject(const Json& json, Reading& reading) {
    return json.is_object() || fail(reading, "expected an object");
}

bool doubleFromJson(const Json& json, double& value, Reading& reading) {
    if (json.is_number()) {
        value = json.get<double>();
        return true;
    }
    for (const double number : {static_cast<double>(NAN), HUGE_VAL, -HUGE_VAL}) {
        value = number;
        if (json == notFinite(number)) return true;
    }
    return fail(reading, "expected a number");
}

Json toJson(double value, Objects&) {
    return isfinite(value) ? Json(value) : Json(notFinite(value));
}

Json toJson(float value, Objects&) {
    if (!isfinite(value)) return notFinite(static_cast<double>(value));
    char text[32];
    *std::to_chars(text, text + sizeof(text) - 1, value).ptr = '\0';
    return strtod(text, nullptr);
}

Json toJson(const hidl_string& value, Objects&) {
    if (recorder::isUtf8({value.c_str(), value.size()})) return std::string(value.c_str(), value.size());
    return Json::binary({value.c_str(), value.c_str() + value.size()});
}

bool fromJson(const Json& json, hidl_string& value, Reading& reading) {
    if (json.is_binary()) {
        value = std::string(json.get_binary().begin(), json.get_binary().end());
        return true;
    }
    if (!json.is_string()) return fail(reading, "expected a string");
    value = json.get_ref<const std::string&>();
    return true;
}

bool fromJson(const Json& json, bool& value, Reading& reading) {
    if (!json.is_boolean()) return fail(reading, "expected true or false");
    value = json.get<bool>();
    return true;
}

Json toJson(const hidl_handle& value, Objects&) {
    const native_handle_t* handle = value.getNativeHandle();
    if (handle == nullptr) return Json();
    Json integers = Json::array();
    for (int i = 0; i < handle->numInts; ++i) integers.push_back(handle->data[handle->numFds + i]);
    return {{"descriptors", handle->numFds}, {"integers", integers}};
}

bool fromJson(const Json& json, hidl_handle& value, Reading& reading) {
    value = nullptr;
    return json.is_null() || fail(reading, "handles cannot be passed");
}

bool countElements(const Json& json, size_t& count, Reading& reading) {
    if (!json.is_array() && !json.is_binary()) return fail(reading, "expected an array");
    count = json.is_array() ? json.size() : json.get_binary().size();
    return true;
}

}  // namespace hidlaudio::hidl_json
