// SPDX-License-Identifier: Apache-2.0
#include "audio_files.h"

#include <android/log.h>
#include <string.h>

#include "host/tv_files/tv_root.h"
#include "host/tv_files/value_file.h"
#include "log.h"
#include "status.h"

namespace hidlaudio::host {

int32_t readReport(const std::string& path, uint32_t& value) {
    const std::string file = tvRoot() + path;
    std::string text;
    if (const int error = readValueFile(file, text); error != 0) {
        __android_log_print(ANDROID_LOG_ERROR, kLogTag, "%s cannot be read: %s", file.c_str(),
                            strerror(error));
        return kFailed;
    }
    const std::optional<uint32_t> number = parseUint32(text);
    if (!number) {
        __android_log_print(ANDROID_LOG_ERROR, kLogTag, "%s does not hold one unsigned 32-bit decimal number",
                            file.c_str());
        return kFailed;
    }
    value = *number;
    return kDone;
}

int32_t storeGiven(const std::string& path, const std::string& content) {
    const std::string file = tvRoot() + path;
    const int error = writeValueFile(file, content);
    if (error == 0) return kDone;
    __android_log_print(ANDROID_LOG_ERROR, kLogTag, "%s cannot be written: %s", file.c_str(),
                        strerror(error));
    return kFailed;
}

}  // namespace hidlaudio::host
