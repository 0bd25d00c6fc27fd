// SPDX-License-Identifier: Apache-2.0
#include "config_store.h"

#include "soc_middleware.h"

namespace com::tovi::dtv::hardware::audio::platform {
namespace {

constexpr int32_t kScope = -1;

}  // namespace

int32_t readConfig(const ConfigKey& key, int32_t& value) {
    const std::lock_guard lock(middlewareLock);
    // Read into a local variable: a failed call may overwrite its output.
    int32_t stored = -1;
    const int32_t status = a_mtktvapi_config_get_value(kScope, key.name, &stored);
    if (status == 0) value = stored;
    return status;
}

int32_t writeConfig(const WritableConfigKey& key, int32_t value) {
    const std::lock_guard lock(middlewareLock);
    return a_mtktvapi_config_set_value(kScope, key.name, value, key.writeMode);
}

}  // namespace com::tovi::dtv::hardware::audio::platform
