// SPDX-License-Identifier: Apache-2.0
#include "number_file.h"

#include <log/log.h>
#include <string.h>

#include "host/tv_files/tv_root.h"
#include "host/tv_files/value_file.h"
#include "status.h"

namespace hidlaudio::host {
namespace {

template <typename Number>
int32_t read(const std::string& path, std::optional<Number> (*parse)(std::string_view), const char* kind,
             Number& value) {
    const std::string file = tvRoot() + path;
    std::string text;
    if (const int error = readValueFile(file, text); error != 0) {
        ALOGE("%s cannot be read: %s", file.c_str(), strerror(error));
        return kFailed;
    }
    const std::optional<Number> number = parse(text);
    if (!number) {
        ALOGE("%s does not hold one %s decimal number", file.c_str(), kind);
        return kFailed;
    }
    value = *number;
    return kDone;
}

}  // namespace

int32_t readNumber(const std::string& path, int32_t& value) {
    return read(path, parseInt32, "32-bit", value);
}

int32_t readNumber(const std::string& path, uint32_t& value) {
    return read(path, parseUint32, "unsigned 32-bit", value);
}

int32_t storeText(const std::string& path, const std::string& content) {
    const std::string file = tvRoot() + path;
    const int error = writeValueFile(file, content);
    if (error == 0) return kDone;
    ALOGE("%s cannot be written: %s", file.c_str(), strerror(error));
    return kFailed;
}

}  // namespace hidlaudio::host
