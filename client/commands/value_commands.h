// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <hidl/HidlSupport.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "client/services/service_call.h"

namespace hidlaudio::client {

/** Actions of commands that read or set one value of a service. They return the exit status. */

/** Prints the value of a switch: "on" or "off", or true or false with --json. */
template <typename Interface>
int printSwitch(const Invocation& invocation, android::hardware::Return<bool> (Interface::*get)()) {
    bool on = false;
    const int status = callService(invocation, on, get);
    return status != kDone ? status : printValue(invocation, on, on ? "on" : "off");
}

/** Prints the string that `get` passes to its callback. */
template <typename Interface, typename Getter>
int printText(const Invocation& invocation, Getter Interface::* get) {
    android::hardware::hidl_string text;
    const int status = callService(invocation, text, get);
    return status != kDone ? status : printValue(invocation, text.c_str(), text);
}

/** Prints the strings that `get` passes to its callback, one per line, or as an array with --json. */
template <typename Interface, typename Getter>
int printList(const Invocation& invocation, Getter Interface::* get, const char* noteIfEmpty = "") {
    android::hardware::hidl_vec<android::hardware::hidl_string> list;
    const int status = callService(invocation, list, get);
    if (status != kDone) return status;
    std::string lines;
    for (const std::string line : list) lines += (lines.empty() ? "" : "\n") + line;
    if (list.size() > 0 || invocation.json)
        return printValue(invocation, std::vector<std::string>(list.begin(), list.end()), lines);
    if (*noteIfEmpty != '\0') note(noteIfEmpty);
    return kDone;
}

/** Calls a setter, and reports its result code as reportResult() does. */
template <typename Interface, typename Setter, typename Value>
int setValue(const Invocation& invocation, const char* method, Setter Interface::* set, const Value& value,
             std::initializer_list<ResultMeaning> meanings, const char* otherwise) {
    int32_t result = 0;
    const int status = callService(invocation, result, set, value);
    return status != kDone ? status : reportResult(invocation, method, result, meanings, otherwise);
}

}  // namespace hidlaudio::client
