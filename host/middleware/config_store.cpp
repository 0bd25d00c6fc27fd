// SPDX-License-Identifier: Apache-2.0
#include <log/log.h>

#include <string>

#include "config_keys.h"
#include "host/tv_files/value_file.h"
#include "injected_fault.h"
#include "number_file.h"
#include "platform/soc_middleware.h"
#include "session.h"
#include "status.h"

namespace hidlaudio::host {
namespace {

constexpr int32_t kScope = -1;

std::string fileOf(const char* key) {
    return std::string("/soc/config/") + key;
}

/** Checks the arguments of both calls. Returns false after logging if one is invalid. */
bool isValidRequest(const char* function, int32_t scope, const char* key) {
    if (scope == kScope && key != nullptr && isValueName(key)) return true;
    ALOGE("%s: scope %d, key \"%s\": the scope must be %d, the key a name", function, scope,
          key != nullptr ? key : "(null)", kScope);
    return false;
}

bool isWriteMode(const char* key, int32_t mode) {
    const ConfigKey* known = findConfigKey(key);
    return known != nullptr ? mode == known->writeMode : mode == 4 || mode == 7;
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
    return isConnected() ? readNumber(fileOf(key), *value) : kNoConnection;
}

int32_t a_mtktvapi_config_set_value(int32_t scope, const char* key, int32_t value, int32_t mode) {
    constexpr char kFunction[] = "a_mtktvapi_config_set_value";
    if (!isValidRequest(kFunction, scope, key)) return kBadArgument;
    if (!isWriteMode(key, mode)) {
        ALOGE("%s: %s is not written in mode %d", kFunction, key, mode);
        return kBadArgument;
    }
    if (const auto status = injectedStatus(kFunction, key)) return *status;
    return isConnected() ? storeText(fileOf(key), std::to_string(value) + "\n") : kNoConnection;
}

}  // extern "C"

}  // namespace hidlaudio::host
