// SPDX-License-Identifier: Apache-2.0
#include "tv_path.h"

#include <android-base/strings.h>
#include <errno.h>
#include <string.h>

#include "host/tv_files/back_end_files.h"
#include "host/tv_files/tv_root.h"

namespace hidlaudio::host {
namespace {

using android::base::StartsWith;

bool belongsToTv(const char* path) {
    return path != nullptr && (strcmp(path, kBackEndDevice) == 0 || StartsWith(path, "/data/") ||
                               StartsWith(path, "/proc/driver/tovi_bectrl/"));
}

}  // namespace

TvPath::TvPath(const char* path) : path_(path) {
    if (!belongsToTv(path)) return;
    const int kept = errno;
    const std::string root = tvRoot();
    // The TV's folder itself may be below /data of the workstation.
    if (!StartsWith(path, root + "/")) mapped_ = root + path;
    errno = kept;
}

}  // namespace hidlaudio::host
