// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include <string_view>

namespace hidlaudio::host {

/** A key of the configuration store that the daemon uses. */
struct ConfigKey {
    std::string_view name;
    int32_t factoryValue;  // what a new TV holds
    int32_t writeMode;     // the only one the store takes for this key; 0: the daemon may not write it
};

constexpr ConfigKey kConfigKeys[] = {
    {"g_audio__tv_position", 0, 7},
    {"g_audio__spk_sur_type", 1, 0},
    {"g_audio__aud_speaker", 0, 0},
    {"g_audio__bitstream_output_mode", 0, 7},
    {"g_audio__arc_dd_plus_capab", 2, 4},
    {"g_audio__earc_ddp_cap", 2, 0},
    {"g_audio__arc_mpeg4_aac_lc_capab", 1, 4},
};

/** The key of that name, or null for one that the daemon does not use. */
constexpr const ConfigKey* findConfigKey(std::string_view name) {
    for (const ConfigKey& key : kConfigKeys) {
        if (key.name == name) return &key;
    }
    return nullptr;
}

}  // namespace hidlaudio::host
