// SPDX-License-Identifier: Apache-2.0
#include "calibration_data.h"

#include <string.h>

#include <algorithm>

#include "log_tag.h"
#include "platform/log.h"

namespace com::tovi::dtv::hardware::audio::acoustic_calibration {
namespace {

using ::android::hardware::hidl_vec;
using platform::logError;

struct Range {
    const char* name;  // as printed in the log
    float least;
    float most;
};

constexpr Range kLevels{"Volume", -9.0F, 9.0F};   // in dB
constexpr Range kDelays{"Delay", 0.0F, 10.0F};    // in ms
constexpr Range kGains{"GEQ Gain", -9.0F, 9.0F};  // in dB

/** Returns whether a value is in a range; logs a value that is not. NaN is out of range. */
bool isIn(const Range& range, float value) {
    if (value >= range.least && value <= range.most) return true;
    logError(kLogTag, "[checkCalibratedData] [%s] is NG.  ffsetLevel: %10.5f ", range.name,
             static_cast<double>(value));
    return false;
}

bool isAcceptable(const V3_0::calibratedData& entry) {
    return isIn(kLevels, entry.level) && isIn(kDelays, entry.delay) &&
           std::all_of(entry.equalizer.begin(), entry.equalizer.end(),
                       [](const V3_0::bandEqualizer& band) { return isIn(kGains, band.gain); });
}

}  // namespace

int32_t checkCalibratedData(const ClientData& data) {
    return std::all_of(data.begin(), data.end(), isAcceptable) ? 0 : -1;
}

aud_ac_data_Table toRecord(const V3_0::calibratedData& entry) {
    aud_ac_data_Table record{};
    const char* name = entry.channel.c_str();
    memcpy(record.name, name, strnlen(name, kNameLength));
    record.level = entry.level;
    record.delay = entry.delay;
    const size_t bands = std::min(entry.equalizer.size(), kBands);
    for (size_t i = 0; i < bands; ++i) record.geqGain[i] = entry.equalizer[i].gain;
    return record;
}

V3_0::calibratedData fromRecord(const aud_ac_data_Table& record) {
    return {channelName(record), makeBands(record.geqGain), record.level, record.delay};
}

std::string channelName(const aud_ac_data_Table& record) {
    return {record.name, strnlen(record.name, kNameLength)};
}

size_t usedChannels(const CalibrationRecords& records) {
    return std::min(records.size(), kMaxChannels);
}

const aud_ac_data_Table* findFrontLeft(const CalibrationRecords& records) {
    const aud_ac_data_Table* const end = records.data() + usedChannels(records);
    const aud_ac_data_Table* const found =
        std::find_if(records.data(), end,
                     [](const aud_ac_data_Table& record) { return channelName(record) == kFrontLeft; });
    return found != end ? found : nullptr;
}

hidl_vec<V3_0::bandEqualizer> makeBands(const float (&gains)[kBands]) {
    hidl_vec<V3_0::bandEqualizer> bands(kBands);
    for (size_t i = 0; i < kBands; ++i) bands[i] = {"Parametric", 0.0F, 0.0F, gains[i]};
    return bands;
}

}  // namespace com::tovi::dtv::hardware::audio::acoustic_calibration
