// SPDX-License-Identifier: Apache-2.0
#include "interface.h"

#include <map>

namespace hidlaudio::hidl_json {
namespace {

std::map<std::string_view, Interface>& knownInterfaces() {
    static std::map<std::string_view, Interface> interfaces;
    return interfaces;
}

}  // namespace

const Interface* findInterface(std::string_view descriptor) {
    const auto found = knownInterfaces().find(descriptor);
    return found != knownInterfaces().end() ? &found->second : nullptr;
}

const Method* findMethod(const Interface& interface, std::string_view name) {
    for (const Method& method : interface.methods) {
        if (method.name == name) return &method;
    }
    return nullptr;
}

Registration::Registration(const Interface& interface) {
    knownInterfaces().emplace(interface.name, interface);
}

}  // namespace hidlaudio::hidl_json
