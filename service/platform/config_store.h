// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

namespace com::tovi::dtv::hardware::audio::platform {

/**
 * The middleware's configuration store: persistent signed 32-bit values, each with a key. Other
 * components of the TV change the values too, so each read queries the store. Any thread, after the
 * middleware was opened.
 */

/** Key of a value that the daemon reads. */
struct ConfigKey {
    const char* name;
};

/** Key of a value that the daemon reads and writes. */
struct WritableConfigKey : ConfigKey {
    constexpr WritableConfigKey(const char* keyName, int32_t mode) : ConfigKey{keyName}, writeMode(mode) {}

    int32_t writeMode;  // a parameter of the store; each key has one fixed mode
};

/** All keys that the daemon uses. */
constexpr WritableConfigKey kTvPosition{"g_audio__tv_position", 7};
constexpr ConfigKey kSpeakerSurroundType{"g_audio__spk_sur_type"};
constexpr ConfigKey kAudioSpeaker{"g_audio__aud_speaker"};
constexpr WritableConfigKey kBitstreamOutputMode{"g_audio__bitstream_output_mode", 7};
constexpr WritableConfigKey kArcDdCapability{"g_audio__arc_dd_plus_capab", 4};
constexpr ConfigKey kEarcDdCapability{"g_audio__earc_ddp_cap"};
constexpr WritableConfigKey kArcMp4Capability{"g_audio__arc_mpeg4_aac_lc_capab", 4};

/** Reads a value. Returns the store's status, 0 for success. `value` changes only on success. */
int32_t readConfig(const ConfigKey& key, int32_t& value);

/** Stores a value. Returns the store's status, 0 for success. */
int32_t writeConfig(const WritableConfigKey& key, int32_t value);

}  // namespace com::tovi::dtv::hardware::audio::platform
