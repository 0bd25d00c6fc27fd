// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include <memory>
#include <string>

namespace android::hardware::details {

// Tags by which templates tell the four kinds of class that hidl-gen makes.
struct i_tag {};
struct bnhw_tag {};
struct bphw_tag {};
struct bs_tag {};

/** Ends the process with `message` in the log. Any thread. */
[[noreturn]] void logAlwaysFatal(const char* message);

/** Whether services may tell addresses and process numbers: always, here. */
bool debuggable();

/**
 * A pointer that takes eight bytes in 32-bit processes too, so that a structure
 * of it has one layout everywhere.
 */
template <typename T>
class hidl_pointer {
  public:
    hidl_pointer() : bits_(0) {}
    hidl_pointer(T* pointer) : bits_(reinterpret_cast<uintptr_t>(pointer)) {}  // NOLINT: as a T* would
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
static_assert(sizeof(hidl_pointer<char>) == 8, "one layout for 32 and 64 bits");

/** The instrumentation that a debuggable platform build has. Here it is empty. */
class HidlInstrumentor {
  public:
    HidlInstrumentor(const std::string& package, const std::string& interface);
    virtual ~HidlInstrumentor();

  protected:
    void configureInstrumentation(bool log = true);
    bool isInstrumentationEnabled() const { return false; }
};

}  // namespace android::hardware::details
