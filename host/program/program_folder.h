// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>

namespace hidlaudio::host {

/** Returns the folder of this process's program and of the other programs, or "" if it is unknown. */
inline std::string programFolder() {
    std::error_code ignored;
    return std::filesystem::read_symlink("/proc/self/exe", ignored).parent_path();
}

}  // namespace hidlaudio::host
