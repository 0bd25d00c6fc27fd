// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <charconv>
#include <string>
#include <string_view>
#include <type_traits>

namespace hidlaudio::recorder {

/** Stores the bytes of a large vector. Returns their offset in the file of bytes, or -1 if it has none. */
using StoreBytes = int64_t (*)(const uint8_t* data, size_t size);

/** Builds the text of JSON values, with the commas between them. */
class Text {
  public:
    /** Without `storeBytes`, no bytes are stored. */
    explicit Text(StoreBytes storeBytes = nullptr) : storeBytes_(storeBytes) {}

    /** Begins the line of an event in place of the text so far, or ends it. */
    void beginLine(const char* event);
    void endLine();

    /** Begins or ends an object or an array. */
    void begin(char bracket);
    void end(char bracket);

    /** Writes the name of the next value of an object. */
    void key(const char* name);

    template <typename Integer, std::enable_if_t<std::is_integral_v<Integer>, int> = 0>
    void number(Integer value) {
        separate();
        char digits[24];
        text_.append(digits, std::to_chars(digits, digits + sizeof(digits), value).ptr);
    }

    /** Write the shortest number that is read as the same one, or "NaN", "Infinity" or "-Infinity". */
    void number(float value);
    void number(double value);

    void boolean(bool value);
    void null();

    /** Writes a string, or the bytes of a text that is not valid UTF-8. */
    void string(std::string_view value);

    /** Writes few bytes as {"hex": …}, others as {"size": …, "hash": …}, with "offset" if they are stored. */
    void bytes(const uint8_t* data, size_t size);

    /** Writes a time in nanoseconds as seconds, rounded down to a microsecond. */
    void seconds(int64_t nanoseconds);

    const std::string& text() const { return text_; }

  private:
    void separate();
    void print(double value, int leastDigits, int mostDigits, bool isFloat);

    std::string text_;
    const StoreBytes storeBytes_;
};

/** Returns the 64-bit FNV-1a hash. */
uint64_t hashOf(const uint8_t* data, size_t size);

}  // namespace hidlaudio::recorder
