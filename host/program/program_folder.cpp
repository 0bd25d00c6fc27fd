// SPDX-License-Identifier: Apache-2.0
#include "program_folder.h"

#include <filesystem>

namespace hidlaudio::host {

std::string programFolder() {
    std::error_code ignored;
    return std::filesystem::read_symlink("/proc/self/exe", ignored).parent_path();
}

}  // namespace hidlaudio::host
