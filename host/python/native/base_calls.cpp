// SPDX-License-Identifier: Apache-2.0
#include "base_calls.h"

#include <android-base/file.h>
#include <android-base/unique_fd.h>
#include <cutils/native_handle.h>
#include <errno.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>

#include <vector>

#include "reply.h"

namespace hidlaudio::python {

using android::hardware::hidl_handle;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using hidl_json::IBase;

namespace {

Json ping(IBase& object) {
    const auto returned = object.ping();
    return returned.isOk() ? reply(Json()) : failedReply(returned);
}

Json descriptor(IBase& object) {
    std::string name;
    const auto returned = object.interfaceDescriptor([&](const hidl_string& given) { name = given; });
    return returned.isOk() ? reply(name) : failedReply(returned);
}

Json chain(IBase& object) {
    Json names = Json::array();
    const auto returned = object.interfaceChain([&](const hidl_vec<hidl_string>& given) {
        for (const hidl_string& name : given) names.push_back(std::string(name));
    });
    return returned.isOk() ? reply(names) : failedReply(returned);
}

Json debug(IBase& object, const Json& request) {
    const android::base::unique_fd file(memfd_create("debug", MFD_CLOEXEC));
    if (file.get() < 0) return failedReply(false, std::string("memfd_create: ") + strerror(errno));
    std::vector<hidl_string> options;
    for (const Json& option : request.value("options", Json::array())) {
        if (!option.is_string()) return invalidReply("expected strings");
        options.emplace_back(option.get<std::string>());
    }
    native_handle_t* handle = native_handle_create(1, 0);
    if (handle == nullptr) return failedReply(false, "no memory");
    handle->data[0] = file.get();
    const auto returned = object.debug(hidl_handle(handle), options);
    native_handle_delete(handle);
    if (!returned.isOk()) return failedReply(returned);
    std::string text;
    lseek(file.get(), 0, SEEK_SET);
    android::base::ReadFdToString(file.get(), &text);
    return reply(Json::binary({text.begin(), text.end()}));
}

}  // namespace

Json callBase(const std::string& operation, IBase& object, const Json& request) {
    if (operation == "ping") return ping(object);
    if (operation == "descriptor") return descriptor(object);
    if (operation == "chain") return chain(object);
    if (operation == "debug") return debug(object, request);
    return invalidReply("unknown request " + operation);
}

}  // namespace hidlaudio::python
