// SPDX-License-Identifier: Apache-2.0
#include "fault_file.h"

#include <errno.h>
#include <unistd.h>

#include "host/root/folder_lock.h"
#include "host/root/value_file.h"

namespace hidlaudio::host {
namespace {

int useUpOnce(const std::string& path, FaultSetting fault) {
    if (fault.count == 0) return 0;
    if (fault.count == 1) return unlink(path.c_str()) == 0 ? 0 : errno;
    --fault.count;
    return writeValueFile(path, formatFault(fault));
}

}  // namespace

std::string formatFault(const FaultSetting& fault) {
    std::string text = std::to_string(fault.status);
    if (fault.count != 0) text += " " + std::to_string(fault.count);
    return text + "\n";
}

std::optional<FaultSetting> parseFault(std::string_view text) {
    const size_t gap = text.find(' ');
    const std::optional<int32_t> status = parseInt32(text.substr(0, gap));
    if (!status) return std::nullopt;
    if (gap == std::string_view::npos) return FaultSetting{*status};
    const std::optional<int32_t> count = parseInt32(text.substr(gap));
    if (!count || *count < 1) return std::nullopt;
    return FaultSetting{*status, *count};
}

int takeFault(const std::string& folder, const std::string& function, std::optional<int32_t>& status) {
    status.reset();
    const std::string path = folder + "/" + function;
    if (access(path.c_str(), F_OK) != 0 && errno == ENOENT) return 0;
    const FolderLock lock(folder);
    if (lock.error() != 0) return lock.error();
    std::string text;
    const int error = readValueFile(path, text);
    if (error != 0) return error == ENOENT ? 0 : error;
    const std::optional<FaultSetting> fault = parseFault(text);
    if (!fault) return EINVAL;
    status = fault->status;
    return useUpOnce(path, *fault);
}

}  // namespace hidlaudio::host
