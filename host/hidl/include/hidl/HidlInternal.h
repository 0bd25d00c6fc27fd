// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include <array>
#include <atomic>
#include <memory>
#include <string>
#include <vector>

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

/**
 * Base of the generated proxies and stubs. It reports their calls to the functions of instrumentation
 * libraries, if the property hal.instrumentation.enable is true.
 *
 * The libraries are those in the folder of the property hal.instrumentation.lib.path.64 (or .32, in a 32-bit
 * process) whose names match <package>@<version>*.profiler.so. The function of each is
 * HIDL_INSTRUMENTATION_FUNCTION_<package>_V<major>_<minor>_<interface>, with '_' for each dot of the package.
 * The properties are read when the object is created. A stub also reads them at each call of
 * IBase::setHALInstrumentation().
 *
 * Calls can be made while another thread configures the object.
 */
class HidlInstrumentor {
  public:
    enum InstrumentationEvent {
        SERVER_API_ENTRY = 0,
        SERVER_API_EXIT,
        CLIENT_API_ENTRY,
        CLIENT_API_EXIT,
        SYNC_CALLBACK_ENTRY,
        SYNC_CALLBACK_EXIT,
        ASYNC_CALLBACK_ENTRY,
        ASYNC_CALLBACK_EXIT,
        PASSTHROUGH_ENTRY,
        PASSTHROUGH_EXIT,
    };

    /**
     * @param version of the interface that declares the method, such as "1.0"
     * @param args    at entry, a pointer to each argument; at exit, a pointer to each result
     */
    using InstrumentationCallback = void (*)(InstrumentationEvent event, const char* package,
                                             const char* version, const char* interface, const char* method,
                                             std::vector<void*>* args);

    HidlInstrumentor(const std::string& package, const std::string& interface);
    virtual ~HidlInstrumentor();

    bool isInstrumentationEnabled() const { return callbacks_.load(std::memory_order_acquire) != nullptr; }

    /** Returns the functions to call. The reference stays valid for the life of the process. */
    const std::vector<InstrumentationCallback>& getInstrumentationCallbacks() const;

  protected:
    /** Reads the properties. @param log whether to log that the instrumentation is switched on or off */
    void configureInstrumentation(bool log = true);

    // Generated in-process wrappers use these members. A workstation uses no such wrappers.
    static constexpr bool mEnableInstrumentation = false;
    static constexpr std::array<InstrumentationCallback, 0> mInstrumentationCallbacks{};

  private:
    const std::string package_;  // with the version: "com.tovi.test.probe@1.0"
    const std::string interface_;
    std::atomic<const std::vector<InstrumentationCallback>*> callbacks_{nullptr};  // null if it is off
};

}  // namespace android::hardware::details
