// SPDX-License-Identifier: Apache-2.0
#include "import.h"

#include "client/calibration/calibration_file.h"
#include "text_lines.h"

namespace hidlaudio::client {
namespace {

bool isJson(std::string_view text) {
    const size_t first = withoutByteOrderMark(text).find_first_not_of(" \t\r\n");
    const char c = first == std::string_view::npos ? ' ' : withoutByteOrderMark(text)[first];
    return c == '[' || c == '{';
}

bool isUtf16(std::string_view text) {
    const std::string_view mark = text.substr(0, 2);
    return mark == "\xFF\xFE" || mark == "\xFE\xFF";
}

}  // namespace

Reading importCalibration(std::string_view text, const TextOptions& options, BeyondLimit beyond) {
    if (isUtf16(text)) return {{}, {"the text is UTF-16; save it as UTF-8"}, {}};
    const bool json = isJson(text);
    Reading reading = json ? readCalibrationFile(text) : readEqualizerText(text, options);
    if (json && (!options.channels.empty() || options.level || options.delay))
        reading.faults.emplace_back(
            "a JSON file has its own channels, levels and delays: omit --channel, --level and --delay");
    applyLimits(reading, beyond, json ? Place::JsonPointer : Place::None);
    return reading;
}

}  // namespace hidlaudio::client
