// SPDX-License-Identifier: Apache-2.0
#include <errno.h>
#include <hardware_legacy/power.h>
#include <string.h>

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "host/program/split_text.h"
#include "host/tv_files/call_record.h"
#include "host/tv_files/fault_file.h"
#include "host/tv_files/folder_lock.h"
#include "host/tv_files/tv_root.h"
#include "host/tv_files/value_file.h"

namespace hidlaudio::host {
namespace {

constexpr size_t kLongestName = 255;

bool isName(const char* id) {
    if (id == nullptr) return false;
    const size_t length = strlen(id);
    return length > 0 && length <= kLongestName && strchr(id, '\n') == nullptr;
}

std::string joined(const std::vector<std::string>& names) {
    std::string text;
    for (const std::string& name : names) text += name + "\n";
    return text;
}

/** Adds `name` to the held locks or removes it. Returns 0 or an errno. */
int setHeld(const std::string& name, bool held) {
    const std::string folder = tvRoot() + "/power";
    const FolderLock lock(folder);
    if (lock.error() != 0) return lock.error();
    std::string text;
    const int error = readValueFile(folder + "/wake_lock", text);
    if (error != 0 && error != ENOENT) return error;
    std::vector<std::string> names = splitLines(text);
    const auto found = std::find(names.begin(), names.end(), name);
    if ((found != names.end()) == held) return 0;
    if (held) {
        names.push_back(name);
    } else {
        names.erase(found);
    }
    return writeValueFile(folder + "/wake_lock", joined(names));
}

int change(const char* function, const char* id, bool held) {
    if (!isName(id)) return -EINVAL;
    recordCall(kPowerCalls, function, id);
    std::optional<int32_t> status;
    if (const int error = injectFault(tvRoot() + "/soc/faults", function, status); error != 0) return -error;
    if (status) return *status;
    const int error = setHeld(id, held);
    return error == 0 ? static_cast<int>(strlen(id)) : -error;
}

}  // namespace

extern "C" {

int acquire_wake_lock(int lock, const char* id) {
    return lock == PARTIAL_WAKE_LOCK ? change("acquire_wake_lock", id, true) : -EINVAL;
}

int release_wake_lock(const char* id) {
    return change("release_wake_lock", id, false);
}

}  // extern "C"

}  // namespace hidlaudio::host
