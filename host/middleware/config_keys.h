// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include <string_view>

namespace hidlaudio::host {

/** A key of the configuration store that the daemon uses. */
struct ConfigKey {
    std::string_view name;
    int32_t factoryValue;  // value on a new TV
    int32_t writeMode;     // required mode of a write; 0: the daemon must not write this key
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

/** Returns the key with this name, or `nullptr` if the daemon does not use it. */
constexpr const ConfigKey* findConfigKey(std::string_view name) {
    for (const ConfigKey& key : kConfigKeys) {
        if (key.name == name) return &key;
    }
    return nullptr;
}

}  // namespace hidlaudio::host
