// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <dlfcn.h>
#include <hidl/HidlTransportSupport.h>

#include <filesystem>

namespace hidlaudio::host {

/** Returns the folder of the HIDL runtime and of the files that only other programs use, or "". */
inline std::filesystem::path runtimeFolder() {
    Dl_info info{};
    if (dladdr(reinterpret_cast<void*>(&android::hardware::joinRpcThreadpool), &info) == 0) return "";
    std::error_code ignored;
    return std::filesystem::canonical(info.dli_fname, ignored).parent_path();
}

}  // namespace hidlaudio::host
