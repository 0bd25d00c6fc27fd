// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include <optional>
#include <vector>

namespace hidlaudio::host {

/** State of the audio decoder and the post-processor, from the files of the TV at tvRoot(). */
struct AudioState {
    std::vector<std::optional<double>>
        equalizer;                        // last gains in dB, `nullopt` if invalid; empty if never set
    std::optional<int32_t> volumeOffset;  // last level offset in tenths of a dB; `nullopt` if never set
    std::optional<uint32_t>
        channelDelay;  // speaker delay that the decoder reports; `nullopt`: the query fails
    std::optional<uint32_t> postProcessor;  // 0 if it is not ready; `nullopt`: the query fails
};

AudioState audioState();

}  // namespace hidlaudio::host
