// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include <map>
#include <mutex>
#include <string>

#include "host/hidl_json/interface.h"

namespace hidlaudio::python {

/** Returns the member `name` of a JSON object if it is an unsigned number, else 0, which stands for no
 * object. */
uint64_t numberIn(const hidl_json::Json& json, const char* name);

/** An object of another process, or of this one, and the interface through which it is called. */
struct KnownObject {
    android::sp<hidl_json::IBase> object;
    const hidl_json::Interface* interface = nullptr;  // null if this program does not know the interface
};

/**
 * The objects by the numbers that stand for them in messages. An object that arrives is
 * {"object": N, "interface": DESCRIPTOR}, with a new number each time. A callback that is implemented in
 * Python is {"callback": N}; Python chooses the number. May be used from any thread.
 */
class ObjectTable : public hidl_json::Objects {
  public:
    explicit ObjectTable(hidl_json::RelayHandler& handler) : handler_(handler) {}

    hidl_json::Json toJson(const android::sp<hidl_json::IBase>& object, const char* interface) override;
    android::sp<hidl_json::IBase> fromJson(const hidl_json::Json& json, const char* interface,
                                           std::string& problem) override;

    /** Returns the object with this number; its `object` is null if there is none. */
    KnownObject find(uint64_t number) const;

    /** Forgets an object that arrived. */
    void drop(uint64_t number);

  private:
    android::sp<hidl_json::IBase> relay(uint64_t number, const char* interface, std::string& problem);

    hidl_json::RelayHandler& handler_;
    mutable std::mutex mutex_;
    uint64_t last_ = 0;
    std::map<uint64_t, KnownObject> objects_;
    // Kept until the process ends, so that the same Python object is always the same HIDL object.
    std::map<uint64_t, android::sp<hidl_json::IBase>> relays_;
};

}  // namespace hidlaudio::python
