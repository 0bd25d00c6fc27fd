// SPDX-License-Identifier: Apache-2.0
#include "properties.h"

#include <sys/system_properties.h>

#include <mutex>
#include <set>

#include "host/tv_files/tv_check.h"
#include "host/tv_files/tv_root.h"
#include "host/tv_files/value_file.h"

struct prop_info {
    std::string name;
    bool operator<(const prop_info& other) const { return name < other.name; }
};

namespace android::hardware::details {

std::string propertyValue(const std::string& name) {
    std::string value;
    if (!hidlaudio::host::isValueName(name)) return value;
    const std::string path = hidlaudio::host::tvRoot() + hidlaudio::host::kPropertyFolder + "/" + name;
    (void)hidlaudio::host::readValueFile(path, value);  // leaves `value` empty if it fails
    return value.substr(0, value.find('\n'));
}

}  // namespace android::hardware::details

const prop_info* __system_property_find(const char* name) {
    // Not destroyed at exit, because other threads may still use it.
    static auto& mutex = *new std::mutex;
    static auto& known = *new std::set<prop_info>;
    if (android::hardware::details::propertyValue(name).empty()) return nullptr;
    const std::lock_guard<std::mutex> lock(mutex);
    return &*known.insert({name}).first;
}

void __system_property_read_callback(const prop_info* property,
                                     void (*callback)(void* cookie, const char* name, const char* value,
                                                      uint32_t serial),
                                     void* cookie) {
    const std::string value = android::hardware::details::propertyValue(property->name);
    callback(cookie, property->name.c_str(), value.c_str(), 0);
}
