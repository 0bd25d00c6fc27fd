// SPDX-License-Identifier: Apache-2.0
#include "registry.h"

#include "host/root/tv_root.h"

namespace hidlaudio::host {

bool servicesRegistered(std::filesystem::file_time_type boot) {
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(tvRoot() + "/run/hwbinder", error)) {
        if (entry.path().filename().string().front() == '.') continue;
        const auto written = entry.last_write_time(error);
        if (!error && written >= boot) return true;
    }
    return false;
}

}  // namespace hidlaudio::host
