// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <hidl/HidlSupport.h>

#include <limits>
#include <string>
#include <type_traits>

#include "interface.h"

/**
 * toJson() and fromJson() of all types of HIDL. The generated code adds those of structs and enums, and all
 * are found by the namespace of their last argument. fromJson() returns false after setting `problem`.
 */
namespace hidlaudio::hidl_json {

using android::hardware::hidl_array;
using android::hardware::hidl_handle;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;

struct Reading {
    Objects& objects;
    // NOLINTNEXTLINE(readability-redundant-member-init): for g++
    std::string problem = {};  // the path of the wrong value and what is wrong: "data[3].gain: expected …"
};

template <typename T>
struct EnumName {
    const char* text;
    T value;
};

/** Sets the problem and returns false. */
bool fail(Reading& reading, const std::string& problem);

/** Puts the name of a member, or "[3]" for an element, before the path of the problem. Returns false. */
bool failWithin(Reading& reading, const std::string& name);

bool isObject(const Json& json, Reading& reading);

bool doubleFromJson(const Json& json, double& value, Reading& reading);

Json toJson(float value, Objects& objects);
Json toJson(double value, Objects& objects);
Json toJson(const hidl_string& value, Objects& objects);
bool fromJson(const Json& json, hidl_string& value, Reading& reading);
bool fromJson(const Json& json, bool& value, Reading& reading);

/** A handle is the numbers of its descriptors and integers. Only null can be read. */
Json toJson(const hidl_handle& value, Objects& objects);
bool fromJson(const Json& json, hidl_handle& value, Reading& reading);

template <typename T, std::enable_if_t<std::is_integral_v<T>, int> = 0>
Json toJson(T value, Objects&) {
    return value;
}

template <typename T, std::enable_if_t<std::is_arithmetic_v<T> && !std::is_same_v<T, bool>, int> = 0>
bool fromJson(const Json& json, T& value, Reading& reading) {
    if constexpr (std::is_floating_point_v<T>) {
        double number = 0;
        const bool isRead = doubleFromJson(json, number, reading);
        value = static_cast<T>(number);
        return isRead;
    } else {
        if (!json.is_number_integer()) return fail(reading, "expected a whole number");
        // A number that was not read from text is signed even if it is positive.
        const bool isNegative = !json.is_number_unsigned() && json.get<int64_t>() < 0;
        const bool fits = isNegative
                              ? std::is_signed_v<T> &&
                                    json.get<int64_t>() >= static_cast<int64_t>(std::numeric_limits<T>::min())
                              : json.get<uint64_t>() <= static_cast<uint64_t>(std::numeric_limits<T>::max());
        value = json.get<T>();
        return fits || fail(reading, json.dump() + " is out of range");
    }
}

template <typename T, size_t N>
Json enumToJson(T value, const EnumName<T> (&names)[N]) {
    for (const EnumName<T>& name : names) {
        if (name.value == value) return name.text;
    }
    return static_cast<std::underlying_type_t<T>>(value);
}

template <typename T, size_t N>
bool enumFromJson(const Json& json, T& value, const EnumName<T> (&names)[N], Reading& reading) {
    if (!json.is_string()) {
        std::underlying_type_t<T> number{};
        const bool isRead = fromJson(json, number, reading);
        value = static_cast<T>(number);
        return isRead;
    }
    const std::string& text = json.get_ref<const std::string&>();
    for (const EnumName<T>& name : names) {
        if (name.text != text) continue;
        value = name.value;
        return true;
    }
    return fail(reading, "no enum value \"" + text + "\"");
}

template <typename I, std::enable_if_t<std::is_base_of_v<IBase, I>, int> = 0>
Json toJson(const sp<I>& value, Objects& objects) {
    return value == nullptr ? Json() : objects.toJson(value, I::descriptor);
}

template <typename I, std::enable_if_t<std::is_base_of_v<IBase, I>, int> = 0>
bool fromJson(const Json& json, sp<I>& value, Reading& reading) {
    value = nullptr;
    if (json.is_null()) return true;
    const sp<IBase> object = reading.objects.fromJson(json, I::descriptor, reading.problem);
    if (object == nullptr) return false;
    value = android::hardware::Return<sp<I>>(I::castFrom(object)).withDefault(nullptr);
    return value != nullptr || fail(reading, std::string("the object does not implement ") + I::descriptor);
}

template <typename T>
constexpr bool kIsByte = std::is_integral_v<T> && sizeof(T) == 1 && !std::is_same_v<T, bool>;

template <typename T>
Json elementsToJson(const T* elements, size_t count, Objects& objects) {
    if constexpr (kIsByte<T>) {
        return Json::binary({elements, elements + count});
    } else {
        Json json = Json::array();
        for (size_t i = 0; i < count; ++i) json.push_back(toJson(elements[i], objects));
        return json;
    }
}

/** Returns the number of elements in an array or a binary value. */
bool countElements(const Json& json, size_t& count, Reading& reading);

template <typename T>
bool elementsFromJson(const Json& json, T* elements, Reading& reading) {
    if constexpr (kIsByte<T>) {
        if (json.is_binary()) {
            std::copy(json.get_binary().begin(), json.get_binary().end(), elements);
            return true;
        }
    }
    if (!json.is_array()) return fail(reading, "expected an array");
    for (size_t i = 0; i < json.size(); ++i) {
        if (!fromJson(json[i], elements[i], reading))
            return failWithin(reading, "[" + std::to_string(i) + "]");
    }
    return true;
}

template <typename T>
Json toJson(const hidl_vec<T>& value, Objects& objects) {
    return elementsToJson(value.data(), value.size(), objects);
}

template <typename T>
bool fromJson(const Json& json, hidl_vec<T>& value, Reading& reading) {
    size_t count = 0;
    if (!countElements(json, count, reading)) return false;
    value.resize(count);
    return elementsFromJson(json, value.data(), reading);
}

template <typename T, size_t SIZE>
Json toJson(const hidl_array<T, SIZE>& value, Objects& objects) {
    return elementsToJson(value.data(), SIZE, objects);
}

template <typename T, size_t SIZE, size_t NEXT, size_t... SIZES>
Json toJson(const hidl_array<T, SIZE, NEXT, SIZES...>& value, Objects& objects) {
    Json json = Json::array();
    for (size_t i = 0; i < SIZE; ++i) json.push_back(toJson(value[i], objects));
    return json;
}

template <typename T, size_t SIZE, size_t... SIZES>
bool fromJson(const Json& json, hidl_array<T, SIZE, SIZES...>& value, Reading& reading) {
    size_t count = 0;
    if (!countElements(json, count, reading)) return false;
    if (count != SIZE) return fail(reading, "expected " + std::to_string(SIZE) + " elements");
    return elementsFromJson(json, &value[0], reading);
}

/** Reads a member of an object. A missing member keeps its value. */
template <typename T>
bool memberFromJson(const Json& json, const char* name, T& value, Reading& reading) {
    const auto found = json.find(name);
    return found == json.end() || fromJson(*found, value, reading) || failWithin(reading, name);
}

}  // namespace hidlaudio::hidl_json
