// SPDX-License-Identifier: Apache-2.0
#include "platform/config_store.h"

#include <gtest/gtest.h>

#include <type_traits>

#include "platform/soc_middleware.h"
#include "tests/support/private_tv.h"

namespace hidlaudio::test {
namespace {

using namespace com::tovi::dtv::hardware::audio::platform;

template <typename Key>
constexpr bool isWritable(const Key&) {
    return std::is_invocable_v<decltype(writeConfig), const Key&, int32_t>;
}
static_assert(isWritable(kTvPosition) && !isWritable(kSpeakerSurroundType));
static_assert(!isWritable(kAudioSpeaker) && !isWritable(kEarcDdCapability));

TEST(ConfigKeys, ReachTheStoreAndAreWrittenInTheirMode) {
    const PrivateTv tv{"soc/config"};
    ASSERT_EQ(MTAL_InitExCb(nullptr), 0);
    // The store refuses a write in any mode but the key's own.
    for (const auto& key : {kTvPosition, kBitstreamOutputMode, kArcDdCapability, kArcMp4Capability}) {
        EXPECT_EQ(writeConfig(key, -3), 0) << key.name;
    }
    for (const std::string name :
         {"tv_position", "bitstream_output_mode", "arc_dd_plus_capab", "arc_mpeg4_aac_lc_capab"}) {
        EXPECT_EQ(contentOf(tv / "soc/config/g_audio__" + name), "-3\n") << name;
    }
    int32_t value = 4;
    for (const auto& [key, name] : {std::pair(kSpeakerSurroundType, "g_audio__spk_sur_type"),
                                    {kAudioSpeaker, "g_audio__aud_speaker"},
                                    {kEarcDdCapability, "g_audio__earc_ddp_cap"}}) {
        makeFile(tv / "soc/config/" + name, "5\n");
        EXPECT_EQ(readConfig(key, value), 0) << name;
        EXPECT_EQ(std::exchange(value, 4), 5);
    }

    makeFile(tv / "soc/faults/a_mtktvapi_config_get_value", "-7\n");  // and garbage in the destination
    makeFile(tv / "soc/faults/a_mtktvapi_config_set_value", "-8\n");
    EXPECT_EQ(readConfig(kTvPosition, value), -7);
    EXPECT_EQ(value, 4);
    EXPECT_EQ(writeConfig(kTvPosition, 0), -8);
}

}  // namespace
}  // namespace hidlaudio::test
