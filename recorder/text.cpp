// SPDX-License-Identifier: Apache-2.0
#include "text.h"

#include <inttypes.h>
#include <math.h>
#include <stdio.h>
#include <stdlib.h>

#include "utf8.h"

namespace hidlaudio::recorder {
namespace {

/** Longer vectors of bytes are described by their size and hash. */
constexpr size_t kFewBytes = 32;

constexpr char kHexDigits[] = "0123456789abcdef";

}  // namespace

uint64_t hashOf(const uint8_t* data, size_t size) {
    uint64_t hash = 0xcbf29ce484222325;
    for (size_t i = 0; i < size; ++i) hash = (hash ^ data[i]) * 0x100000001b3;
    return hash;
}

void Text::beginLine(const char* event) {
    text_.clear();
    begin('{');
    key("event"), string(event);
}

void Text::endLine() {
    end('}');
    text_ += '\n';
}

void Text::separate() {
    if (text_.empty()) return;
    const char last = text_.back();
    if (last != '{' && last != '[' && last != ':') text_ += ',';
}

void Text::begin(char bracket) {
    separate();
    text_ += bracket;
}

void Text::end(char bracket) {
    text_ += bracket;
}

void Text::key(const char* name) {
    separate();
    text_.append("\"").append(name).append("\":");
}

void Text::number(float value) {
    print(static_cast<double>(value), 6, 9, true);
}

void Text::number(double value) {
    print(value, 15, 17, false);
}

void Text::print(double value, int leastDigits, int mostDigits, bool isFloat) {
    if (!isfinite(value)) return string(isnan(value) ? "NaN" : value > 0 ? "Infinity" : "-Infinity");
    separate();
    char number[32]{};
    for (int digits = leastDigits; digits <= mostDigits; ++digits) {
        snprintf(number, sizeof(number), "%.*g", digits, value);
        const double read = isFloat ? static_cast<double>(strtof(number, nullptr)) : strtod(number, nullptr);
        if (read == value) break;
    }
    text_ += number;
}

void Text::boolean(bool value) {
    separate();
    text_ += value ? "true" : "false";
}

void Text::null() {
    separate();
    text_ += "null";
}

void Text::string(std::string_view value) {
    if (!isUtf8(value)) return bytes(reinterpret_cast<const uint8_t*>(value.data()), value.size());
    separate();
    text_ += '"';
    for (const char c : value) {
        if (c == '"' || c == '\\') text_ += '\\';
        if (static_cast<unsigned char>(c) >= 0x20) {
            text_ += c;
            continue;
        }
        char escaped[8];
        snprintf(escaped, sizeof(escaped), "\\u%04x", static_cast<unsigned char>(c));
        text_ += escaped;
    }
    text_ += '"';
}

void Text::bytes(const uint8_t* data, size_t size) {
    begin('{');
    if (size <= kFewBytes) {
        key("hex");
        text_ += '"';
        for (size_t i = 0; i < size; ++i) text_.append({kHexDigits[data[i] >> 4], kHexDigits[data[i] & 15]});
        text_ += '"';
    } else {
        char hash[20];
        snprintf(hash, sizeof(hash), "%016" PRIx64, hashOf(data, size));
        key("size"), number(size);
        key("hash"), string(hash);
        const int64_t offset = storeBytes_ != nullptr ? storeBytes_(data, size) : -1;
        if (offset >= 0) key("offset"), number(offset);
    }
    end('}');
}

void Text::seconds(int64_t nanoseconds) {
    number(nanoseconds / 1'000'000'000);
    char fraction[] = ".000000";
    int64_t micros = nanoseconds % 1'000'000'000 / 1000;
    for (int digit = 6; digit > 0; --digit, micros /= 10)
        fraction[digit] = static_cast<char>('0' + micros % 10);
    text_ += fraction;
}

}  // namespace hidlaudio::recorder
