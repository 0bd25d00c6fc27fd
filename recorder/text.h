// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <string>
#include <string_view>

namespace hidlaudio::recorder {

/** Stores the bytes of a large vector. Returns their offset in the file of bytes, or -1 if it has none. */
using StoreBytes = int64_t (*)(const uint8_t* data, size_t size);

/** Builds the text of JSON values, with the commas between them. */
class Text {
  public:
    explicit Text(StoreBytes storeBytes) : storeBytes_(storeBytes) {}

    /** Begins or ends an object or an array. */
    void begin(char bracket);
    void end(char bracket);

    /** Writes the name of the next value of an object. */
    void key(const char* name);

    void number(int64_t value);
    void number(uint64_t value);

    /** Writes the shortest number that is read as the same float or double, or "NaN", "Infinity",
     * "-Infinity". */
    void number(float value);
    void number(double value);

    void boolean(bool value);
    void null();

    /** Writes a string, or the bytes of a text that is not valid UTF-8. */
    void string(std::string_view value);

    /** Writes few bytes as {"hex": …}, and more as {"size": …, "hash": …}, with "offset" if they are stored.
     */
    void bytes(const uint8_t* data, size_t size);

    /** Writes a time in nanoseconds as seconds, rounded down to a microsecond. */
    void seconds(int64_t nanoseconds);

    void clear() { text_.clear(); }
    void newline() { text_ += '\n'; }
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
