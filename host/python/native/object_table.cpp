// SPDX-License-Identifier: Apache-2.0
#include "object_table.h"

#include "host/hidl_json/calls.h"

namespace hidlaudio::python {

using android::sp;
using hidl_json::findInterface;
using hidl_json::IBase;
using hidl_json::Json;

namespace {

constexpr char kObject[] = "object";
constexpr char kCallback[] = "callback";

}  // namespace

uint64_t numberIn(const hidl_json::Json& json, const char* name) {
    const auto found = json.find(name);
    return found != json.end() && found->is_number_unsigned() ? found->get<uint64_t>() : 0;
}

Json ObjectTable::toJson(const sp<IBase>& object, const char* interface) {
    if (const auto* relay = dynamic_cast<hidl_json::RelayObject*>(object.get()))
        return {{kCallback, relay->relay()}};
    const std::lock_guard<std::mutex> lock(mutex_);
    objects_[++last_] = {object, findInterface(interface)};
    return {{kObject, last_}, {"interface", interface}};
}

sp<IBase> ObjectTable::fromJson(const Json& json, const char* interface, std::string& problem) {
    if (const uint64_t number = numberIn(json, kCallback); number != 0)
        return relay(
            number,
            json.contains("interface") ? json["interface"].get_ref<const std::string&>().c_str() : interface,
            problem);
    const sp<IBase> object = find(numberIn(json, kObject)).object;
    if (object == nullptr) problem = "expected an object";
    return object;
}

sp<IBase> ObjectTable::relay(uint64_t number, const char* interface, std::string& problem) {
    const std::lock_guard<std::mutex> lock(mutex_);
    sp<IBase>& relay = relays_[number];
    const hidl_json::Interface* known = findInterface(interface);
    if (relay == nullptr && known != nullptr && known->makeRelay != nullptr)
        relay = known->makeRelay(number, handler_);
    if (relay == nullptr) problem = std::string(interface) + " cannot be implemented in Python";
    return relay;
}

KnownObject ObjectTable::find(uint64_t number) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = objects_.find(number);
    return found != objects_.end() ? found->second : KnownObject{};
}

void ObjectTable::drop(uint64_t number) {
    KnownObject dropped;  // destroyed without the lock: the destructor may notify the object's process
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = objects_.find(number);
    if (found == objects_.end()) return;
    dropped = std::move(found->second);
    objects_.erase(found);
}

}  // namespace hidlaudio::python
