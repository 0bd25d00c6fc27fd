// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include <optional>
#include <vector>

namespace hidlaudio::host {

/** What the files of the TV at tvRoot() say of its audio decoder and post-processor. */
struct AudioState {
    std::vector<std::optional<double>> equalizer;  // in dB, as the decoder was last given it; empty: never
    std::optional<int32_t> volumeOffset;           // in tenths of a dB; none: never given
    std::optional<uint32_t> channelDelay;   // of the speakers, as the decoder reports it; none: it fails
    std::optional<uint32_t> postProcessor;  // what it answers, 0 while it is not ready; none: it fails
};

AudioState audioState();

}  // namespace hidlaudio::host
