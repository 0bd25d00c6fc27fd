// SPDX-License-Identifier: Apache-2.0
#include <charconv>
#include <string>

#include "injected_fault.h"
#include "number_file.h"
#include "platform/soc_middleware.h"
#include "session.h"
#include "status.h"

namespace hidlaudio::host {
namespace {

constexpr int kEqualizerGains = 32;

/** Returns the shortest text that converts back to the same float. */
std::string describe(float gain) {
    char text[32];
    return {text, std::to_chars(text, text + sizeof(text), gain).ptr};
}

}  // namespace

extern "C" {

int32_t MTAUDDEC_GetChannelMainDelaySp(uint32_t* delay) {
    if (delay == nullptr) return kBadArgument;
    if (const auto status = injectedStatus("MTAUDDEC_GetChannelMainDelaySp")) {
        *delay = kGarbage;
        return *status;
    }
    return isConnected() ? readNumber("/soc/audio_decoder/channel_main_delay_sp", *delay) : kNoConnection;
}

int32_t MTAUDDEC_Set32EqualizerBandConfig(const float* gains) {
    if (gains == nullptr) return kBadArgument;
    if (const auto status = injectedStatus("MTAUDDEC_Set32EqualizerBandConfig")) return *status;
    if (!isConnected()) return kNoConnection;
    std::string lines;
    for (int i = 0; i < kEqualizerGains; ++i) lines += describe(gains[i]) + "\n";
    return storeText("/soc/audio_decoder/equalizer", lines);
}

int32_t MTAUDDEC_SetAcVolumeOffset(int8_t offset) {
    if (const auto status = injectedStatus("MTAUDDEC_SetAcVolumeOffset")) return *status;
    if (!isConnected()) return kNoConnection;
    return storeText("/soc/audio_decoder/volume_offset", std::to_string(offset) + "\n");
}

}  // extern "C"

}  // namespace hidlaudio::host
