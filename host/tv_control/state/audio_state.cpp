// SPDX-License-Identifier: Apache-2.0
#include <android-base/stringprintf.h>

#include "host/program/parse_number.h"
#include "host/program/split_text.h"
#include "host/tv_files/value_file.h"
#include "tv_state.h"

namespace hidlaudio::host {
namespace {

using nlohmann::ordered_json;

/** Returns the gains that were last sent to the audio decoder. An invalid line is null, and "?" as text. */
StateEntry equalizer() {
    ordered_json gains = ordered_json::array();
    std::string text;
    for (const std::string& line : splitLines(valueFileContent("/soc/audio_decoder/equalizer"))) {
        const std::optional<double> gain = parseNumber<double>(line);
        gains.push_back(orNull(gain));
        text += gain ? android::base::StringPrintf(" %g", *gain) : " ?";
    }
    return {"equalizer", gains, "equalizer" + (text.empty() ? " none" : text)};
}

}  // namespace

StateEntries audioState() {
    return {equalizer(),
            numberEntry("volume_offset", "volume offset",
                        parseInt32(valueFileContent("/soc/audio_decoder/volume_offset"))),
            numberEntry("speaker_delay", "speaker delay",
                        parseUint32(valueFileContent("/soc/audio_decoder/channel_main_delay_sp"))),
            numberEntry("post_processor_ready", "post-processor ready",
                        parseUint32(valueFileContent("/soc/audio_post/ready")))};
}

}  // namespace hidlaudio::host
