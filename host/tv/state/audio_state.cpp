// SPDX-License-Identifier: Apache-2.0
#include "audio_state.h"

#include <charconv>
#include <sstream>
#include <string>

#include "host/tv_files/tv_root.h"
#include "host/tv_files/value_file.h"

namespace hidlaudio::host {
namespace {

std::string contentOf(const char* path) {
    std::string text;
    readValueFile(tvRoot() + path, text);
    return text;
}

/** Returns a gain in dB, or `std::nullopt` if the line is not a number. */
std::optional<double> parseGain(const std::string& line) {
    double gain = 0.0;
    const auto [end, error] = std::from_chars(line.data(), line.data() + line.size(), gain);
    const bool isNumber = error == std::errc() && end == line.data() + line.size();
    return isNumber ? std::optional(gain) : std::nullopt;
}

}  // namespace

AudioState audioState() {
    AudioState state;
    std::istringstream lines(contentOf("/soc/audio_decoder/equalizer"));
    for (std::string line; std::getline(lines, line);) state.equalizer.push_back(parseGain(line));
    state.volumeOffset = parseInt32(contentOf("/soc/audio_decoder/volume_offset"));
    state.channelDelay = parseUint32(contentOf("/soc/audio_decoder/channel_main_delay_sp"));
    state.postProcessor = parseUint32(contentOf("/soc/audio_post/ready"));
    return state;
}

}  // namespace hidlaudio::host
