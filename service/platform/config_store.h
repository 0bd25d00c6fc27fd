// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

namespace com::tovi::dtv::hardware::audio::platform {

/**
 * The middleware's configuration store: signed 32-bit values that the TV keeps, by
 * key. Other components of the TV change them too, so every read asks the store. Any
 * thread, once the middleware is opened.
 */

/** A value that the daemon reads. */
struct ConfigKey {
    const char* name;
};

/** A value that it writes as well. */
struct WritableConfigKey : ConfigKey {
    constexpr WritableConfigKey(const char* keyName, int32_t mode) : ConfigKey{keyName}, writeMode(mode) {}

    int32_t writeMode;  // the store's own; each key is written in one only
};

/** All that the daemon uses; it writes only those with a mode. */
constexpr WritableConfigKey kTvPosition{"g_audio__tv_position", 7};
constexpr ConfigKey kSpeakerSurroundType{"g_audio__spk_sur_type"};
constexpr ConfigKey kAudioSpeaker{"g_audio__aud_speaker"};
constexpr WritableConfigKey kBitstreamOutputMode{"g_audio__bitstream_output_mode", 7};
constexpr WritableConfigKey kArcDdCapability{"g_audio__arc_dd_plus_capab", 4};
constexpr ConfigKey kEarcDdCapability{"g_audio__earc_ddp_cap"};
constexpr WritableConfigKey kArcMp4Capability{"g_audio__arc_mpeg4_aac_lc_capab", 4};

/** Returns the store's status, 0 for success; `value` changes only then. */
int32_t readConfig(const ConfigKey& key, int32_t& value);

/** Returns the store's status, 0 where the value is stored. */
int32_t writeConfig(const WritableConfigKey& key, int32_t value);

}  // namespace com::tovi::dtv::hardware::audio::platform
