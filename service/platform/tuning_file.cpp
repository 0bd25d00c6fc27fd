// SPDX-License-Identifier: Apache-2.0
#include "tuning_file.h"

#include <errno.h>
#include <stdio.h>

#include <algorithm>
#include <memory>

#include "log.h"

namespace com::tovi::dtv::hardware::audio::platform {

bool readTuningFile(const char* tag, const char* function, std::initializer_list<TuningRegion> regions) {
    const auto succeeded = [&](bool success, const char* call) {
        if (!success) logError(tag, "[%s] %s failed, errno %d", function, call, errno);
        return success;
    };
    const std::unique_ptr<FILE, int (*)(FILE*)> file(fopen(kTuningFile, "rbe"), fclose);
    if (!succeeded(file != nullptr, "fopen")) return false;
    return std::all_of(regions.begin(), regions.end(), [&](const TuningRegion& region) {
        if (!succeeded(fseek(file.get(), region.offset, SEEK_SET) == 0, "fseek")) return false;
        errno = 0;  // the end of the file does not set errno
        return succeeded(fread(region.destination, 1, region.size, file.get()) == region.size, "fread");
    });
}

}  // namespace com::tovi::dtv::hardware::audio::platform
