// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android/hidl/base/1.0/IBase.h>
#include <hidl/HidlSupport.h>

#include <type_traits>

#include "text.h"

/**
 * The text of the values that an instrumented call passes by their addresses. The generated code adds the
 * structs and enums of the recorded packages, and the tables of their methods.
 */
namespace hidlaudio::recorder {

/** Writes an object with the arguments or results. */
using WriteValues = void (*)(Text& text, void* const* values);

struct MethodDecoder {
    const char* name;
    WriteValues arguments;  // null if a value has an unsupported type
    WriteValues results;
};

/** An interface with all its methods, inherited ones too. */
struct InterfaceDecoder {
    const char* name;  // the descriptor
    const MethodDecoder* methods;
    size_t methodCount;
};

extern const InterfaceDecoder kInterfaces[];
extern const size_t kInterfaceCount;

template <typename T>
const T& at(const void* value) {
    return *static_cast<const T*>(value);
}

/** Writes an object as the address of its binder, which is the same each time the object is passed. */
void writeObject(Text& text, android::hidl::base::V1_0::IBase* object);

void write(Text& text, const android::hardware::hidl_handle& value);

inline void write(Text& text, const android::hardware::hidl_string& value) {
    text.string({value.c_str(), value.size()});
}

inline void write(Text& text, bool value) {
    text.boolean(value);
}

template <typename T, std::enable_if_t<std::is_arithmetic_v<T> && !std::is_same_v<T, bool>, int> = 0>
void write(Text& text, T value) {
    text.number(value);
}

template <typename I>
void write(Text& text, const android::sp<I>& value) {
    writeObject(text, value.get());
}

template <typename T>
void writeElements(Text& text, const T* elements, size_t count) {
    if constexpr (std::is_same_v<T, uint8_t> || std::is_same_v<T, int8_t>) {
        text.bytes(reinterpret_cast<const uint8_t*>(elements), count);
    } else {
        text.begin('[');
        for (size_t i = 0; i < count; ++i) write(text, elements[i]);
        text.end(']');
    }
}

template <typename T>
void write(Text& text, const android::hardware::hidl_vec<T>& value) {
    writeElements(text, value.data(), value.size());
}

template <typename T, size_t SIZE>
void write(Text& text, const android::hardware::hidl_array<T, SIZE>& value) {
    writeElements(text, value.data(), SIZE);
}

template <typename T, size_t SIZE, size_t NEXT, size_t... SIZES>
void write(Text& text, const android::hardware::hidl_array<T, SIZE, NEXT, SIZES...>& value) {
    text.begin('[');
    for (size_t i = 0; i < SIZE; ++i) write(text, value[i]);
    text.end(']');
}

}  // namespace hidlaudio::recorder
