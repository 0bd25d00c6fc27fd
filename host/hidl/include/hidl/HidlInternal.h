// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include <memory>
#include <string>

namespace android::hardware::details {

// Tags of the four kinds of classes that hidl-gen generates: interface, stub, proxy, in-process
// wrapper.
struct i_tag {};
struct bnhw_tag {};
struct bphw_tag {};
struct bs_tag {};

/** Logs `message` and aborts the process. Any thread. */
[[noreturn]] void logAlwaysFatal(const char* message);

/** Returns whether services may disclose addresses and process IDs: always true on a workstation. */
bool debuggable();

/**
 * A pointer that takes eight bytes in 32-bit processes too, so that a structure with such pointers
 * has the same layout in all processes.
 */
template <typename T>
class hidl_pointer {
  public:
    hidl_pointer() : bits_(0) {}
    hidl_pointer(T* pointer)
        : bits_(reinterpret_cast<uintptr_t>(pointer)) {}  // NOLINT: implicit, as for a T*
    hidl_pointer& operator=(T* pointer) {
        bits_ = reinterpret_cast<uintptr_t>(pointer);
        return *this;
    }
    operator T*() const { return get(); }  // NOLINT
    T& operator*() const { return *get(); }
    T* operator->() const { return get(); }

  private:
    T* get() const { return reinterpret_cast<T*>(static_cast<uintptr_t>(bits_)); }

    uint64_t bits_;
};
static_assert(sizeof(hidl_pointer<char>) == 8, "same layout in 32-bit and 64-bit processes");

/** Instrumentation hooks of debuggable platform builds. They do nothing here. */
class HidlInstrumentor {
  public:
    HidlInstrumentor(const std::string& package, const std::string& interface);
    virtual ~HidlInstrumentor();

  protected:
    void configureInstrumentation(bool log = true);
    bool isInstrumentationEnabled() const { return false; }
};

}  // namespace android::hardware::details
