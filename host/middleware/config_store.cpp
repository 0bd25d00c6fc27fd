// SPDX-License-Identifier: Apache-2.0
#include <android/log.h>
#include <errno.h>
#include <string.h>

#include <string>

#include "config_keys.h"
#include "host/tv_files/tv_root.h"
#include "host/tv_files/value_file.h"
#include "injected_fault.h"
#include "log.h"
#include "platform/soc_middleware.h"
#include "session.h"
#include "status.h"

namespace hidlaudio::host {
namespace {

constexpr int32_t kScope = -1;

std::string pathOf(const char* key) {
    return tvRoot() + "/soc/config/" + key;
}

/** Checks the arguments of both calls. Returns false after logging if one is invalid. */
bool isValidRequest(const char* function, int32_t scope, const char* key) {
    if (scope == kScope && key != nullptr && isValueName(key)) return true;
    __android_log_print(ANDROID_LOG_ERROR, kLogTag,
                        "%s: scope %d, key \"%s\": the scope must be %d, the key a name", function, scope,
                        key != nullptr ? key : "(null)", kScope);
    return false;
}

bool isWriteMode(const char* key, int32_t mode) {
    const ConfigKey* known = findConfigKey(key);
    return known != nullptr ? mode == known->writeMode : mode == 4 || mode == 7;
}

int32_t readValue(const char* key, int32_t& value) {
    const std::string path = pathOf(key);
    std::string text;
    if (const int error = readValueFile(path, text); error != 0) {
        __android_log_print(ANDROID_LOG_ERROR, kLogTag, "%s cannot be read: %s", path.c_str(),
                            strerror(error));
        return kFailed;
    }
    const std::optional<int32_t> number = parseInt32(text);
    if (!number) {
        __android_log_print(ANDROID_LOG_ERROR, kLogTag, "%s does not hold one 32-bit decimal number",
                            path.c_str());
        return kFailed;
    }
    value = *number;
    return kDone;
}

int32_t writeValue(const char* key, int32_t value) {
    const std::string path = pathOf(key);
    const int error = writeValueFile(path, std::to_string(value) + "\n");
    if (error == 0) return kDone;
    __android_log_print(ANDROID_LOG_ERROR, kLogTag, "%s cannot be written: %s", path.c_str(),
                        strerror(error));
    return kFailed;
}

}  // namespace

extern "C" {

int32_t a_mtktvapi_config_get_value(int32_t scope, const char* key, int32_t* value) {
    constexpr char kFunction[] = "a_mtktvapi_config_get_value";
    if (value == nullptr || !isValidRequest(kFunction, scope, key)) return kBadArgument;
    if (const auto status = injectedStatus(kFunction, key)) {
        *value = kGarbage;
        return *status;
    }
    return isConnected() ? readValue(key, *value) : kNoConnection;
}

int32_t a_mtktvapi_config_set_value(int32_t scope, const char* key, int32_t value, int32_t mode) {
    constexpr char kFunction[] = "a_mtktvapi_config_set_value";
    if (!isValidRequest(kFunction, scope, key)) return kBadArgument;
    if (!isWriteMode(key, mode)) {
        __android_log_print(ANDROID_LOG_ERROR, kLogTag, "%s: %s is not written in mode %d", kFunction, key,
                            mode);
        return kBadArgument;
    }
    if (const auto status = injectedStatus(kFunction, key)) return *status;
    return isConnected() ? writeValue(key, value) : kNoConnection;
}

}  // extern "C"

}  // namespace hidlaudio::host
