// SPDX-License-Identifier: Apache-2.0
#include "tuning_file.h"

#include <stddef.h>
#include <stdint.h>

#include <initializer_list>

namespace hidlaudio::host {
namespace {

constexpr size_t kSize = 24576;
constexpr size_t kParameters = 19412;
constexpr size_t kParametersEqualizer = kParameters + 0x48;
constexpr size_t kCurves = 22340;
constexpr size_t kCurveSize = 128;
constexpr size_t kCentreSpeaker = 23924;
constexpr size_t kBands = 31;

/** Whether each channel uses its curve: front, center, surround, surround back, front height. */
constexpr bool kCurveUsed[] = {true, true, true, false, false};

void putWord(std::string& file, size_t offset, int32_t value) {
    const auto word = static_cast<uint32_t>(value);
    for (size_t i = 0; i < 4; ++i) file[offset + i] = static_cast<char>(word >> (8 * i) & 0xFF);
}

void putWords(std::string& file, size_t offset, std::initializer_list<int32_t> values) {
    for (const int32_t value : values) {
        putWord(file, offset, value);
        offset += 4;
    }
}

/**
 * Writes the parameters of the room measurement: integers, tenths, and frequencies with one byte per channel.
 */
void putParameters(std::string& file) {
    putWords(file, kParameters, {48000, 65536, 8, 2, 1, 750, 10, 25, -120, 60, 3, 5, 30, -35});
    // Three channels per word. Lower limits 40, 60, 100 Hz and upper limits 20, 20, 16 kHz; then lower limits
    // 100, 120, 150 Hz and upper limits 10, 10, 8 kHz.
    putWords(file, kParameters + 0x38,
             {0x04060A00, static_cast<int32_t>(0xC8C8A000), 0x0A0C0F00, 0x64645000});
    for (size_t band = 0; band < kBands; ++band) {
        putWord(file, kParametersEqualizer + 4 * band, static_cast<int32_t>(60 - 2 * band));
    }
}

/** Writes the curves in tenths of a dB: straight slopes that fall towards the high bands. */
void putCurves(std::string& file) {
    int32_t slope = 1;
    size_t curve = kCurves;
    for (const bool used : kCurveUsed) {
        putWord(file, curve, used ? 1 : 0);
        for (size_t band = 0; band < kBands; ++band) {
            putWord(file, curve + 4 + 4 * band, slope * (15 - static_cast<int32_t>(band)));
        }
        ++slope;
        curve += kCurveSize;
    }
}

}  // namespace

std::string makeTuningFile() {
    std::string file(kSize, '\0');
    putParameters(file);
    putCurves(file);
    putWords(file, kCentreSpeaker, {3, 1024});  // acoustic type, latency in samples at 48 kHz
    return file;
}

}  // namespace hidlaudio::host
