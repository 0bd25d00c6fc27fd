// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include <algorithm>

namespace hidlaudio::fuzz {

/** Reads an input piece by piece from its beginning. Values beyond its end are zero. */
class Input {
  public:
    Input(const uint8_t* data, size_t size) : data_(data), size_(size) {}

    size_t left() const { return size_; }

    template <typename T>
    T take() {
        T value{};
        const size_t size = std::min(sizeof(T), size_);
        memcpy(static_cast<void*>(&value), take(size), size);
        return value;
    }

    /** Returns the next `size` bytes. At least that many must be left. */
    const uint8_t* take(size_t size) {
        const uint8_t* taken = data_;
        data_ += size;
        size_ -= size;
        return taken;
    }

  private:
    const uint8_t* data_;
    size_t size_;
};

/** Aborts the process unless `condition` is true, so that the fuzzer saves the input. */
inline void require(bool condition) {
    if (!condition) __builtin_trap();
}

}  // namespace hidlaudio::fuzz
