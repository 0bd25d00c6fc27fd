// SPDX-License-Identifier: Apache-2.0
#include "tv_path.h"

#include <errno.h>

#include <string_view>

#include "host/tv_files/tv_root.h"

namespace hidlaudio::host {
namespace {

constexpr std::string_view kFolders[] = {"/data/", "/proc/driver/tovi_bectrl/"};
constexpr std::string_view kDevice = "/dev/tovi_bectrl";

bool startsWith(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

bool belongsToTv(std::string_view path) {
    if (path == kDevice) return true;
    for (const std::string_view folder : kFolders) {
        if (startsWith(path, folder)) return true;
    }
    return false;
}

}  // namespace

TvPath::TvPath(const char* path) : path_(path) {
    if (path == nullptr || !belongsToTv(path)) return;
    const int kept = errno;
    const std::string root = tvRoot();
    // The TV's folder itself may be below /data of the workstation.
    if (!startsWith(path, root + "/")) mapped_ = root + path;
    errno = kept;
}

}  // namespace hidlaudio::host
