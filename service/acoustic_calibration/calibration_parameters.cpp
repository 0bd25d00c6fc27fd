// SPDX-License-Identifier: Apache-2.0
#include "calibration_parameters.h"

#include <algorithm>
#include <iterator>

#include "log_tag.h"
#include "platform/tuning_file.h"
#include "tuning_data.h"

namespace com::tovi::dtv::hardware::audio::acoustic_calibration {
namespace {

using ::android::hardware::hidl_vec;
using V3_0::bandEqualizer;
using V3_0::channelCurve;
using V3_0::channelFrequencyRange;

/** Offsets in the tuning file. */
constexpr long kParameterOffset = 19412;
constexpr long kCurveOffsets[kCurves] = {22340, 22468, 22596, 22724, 22852};

constexpr const char* kRangeChannels[] = {"Front", "Center", "Other"};
constexpr const char* kCurveChannels[kCurves] = {"Front", "Center", "Surround", "SurroundBack",
                                                 "FrontHeight"};

bool readTuningData(const char* function, TuningData& data) {
    const auto curve = [&](size_t i) {
        return platform::TuningRegion{kCurveOffsets[i], &data.curves[i], sizeof(CurveBlock)};
    };
    return platform::readTuningFile(kLogTag, function,
                                    {{kParameterOffset, &data.parameters, sizeof(ParameterBlock)},
                                     curve(0),
                                     curve(1),
                                     curve(2),
                                     curve(3),
                                     curve(4)});
}

/** Multiplies in double precision, so that the result is rounded to single precision only once. */
template <typename Integer>
float fromTenths(Integer tenths) {
    return static_cast<float>(tenths * 0.1);
}

float unpack(PackedFrequencies packed, size_t channel, uint32_t unit) {
    return static_cast<float>((packed >> (24 - 8 * channel) & 0xFF) * unit);
}

hidl_vec<channelFrequencyRange> makeRanges(const PackedRanges& packed) {
    hidl_vec<channelFrequencyRange> ranges(std::size(kRangeChannels));
    for (size_t i = 0; i < std::size(kRangeChannels); ++i) {
        ranges[i] = {kRangeChannels[i], unpack(packed.lower, i, 10), unpack(packed.upper, i, 100)};
    }
    return ranges;
}

template <typename Integer>
hidl_vec<bandEqualizer> makeBandsOfTenths(const Integer (&tenths)[kBands]) {
    float gains[kBands];
    std::transform(std::begin(tenths), std::end(tenths), gains, fromTenths<Integer>);
    return makeBands(gains);
}

hidl_vec<channelCurve> makeCurves(const CurveBlock (&blocks)[kCurves]) {
    hidl_vec<channelCurve> curves(kCurves);
    for (size_t i = 0; i < kCurves; ++i) {
        curves[i] = {kCurveChannels[i], blocks[i].enabled == 1, makeBandsOfTenths(blocks[i].gains)};
    }
    return curves;
}

V3_0::calibrationParameters shapingCalibrationParameters(const TuningData& data) {
    const ParameterBlock& block = data.parameters;
    V3_0::calibrationParameters shaped{};
    shaped.intValue1 = block.intValues1To5[0];
    shaped.intValue2 = block.intValues1To5[1];
    shaped.intValue3 = block.intValues1To5[2];
    shaped.intValue4 = block.intValues1To5[3];
    shaped.intValue5 = block.intValues1To5[4];
    shaped.scaledValue1 = fromTenths(block.scaledValues1To3[0]);
    shaped.scaledValue2 = fromTenths(block.scaledValues1To3[1]);
    shaped.scaledValue3 = fromTenths(block.scaledValues1To3[2]);
    shaped.scaledValue4 = fromTenths(block.scaledValue4);
    shaped.scaledValue5 = fromTenths(block.scaledValue5);
    shaped.intValue6 = block.intValues6And7[0];
    shaped.intValue7 = block.intValues6And7[1];
    shaped.scaledValue6 = fromTenths(block.scaledValue6);
    shaped.scaledValue7 = fromTenths(block.scaledValue7);
    shaped.frequencyRanges1 = makeRanges(block.ranges[0]);
    shaped.frequencyRanges2 = makeRanges(block.ranges[1]);
    shaped.equalizer = makeBandsOfTenths(block.gains);
    shaped.channelCurves = makeCurves(data.curves);
    return shaped;
}

}  // namespace

int32_t readCalibrationParameters(const char* function, V3_0::calibrationParameters& parameters) {
    TuningData data{};
    if (!readTuningData(function, data)) return -1;
    parameters = shapingCalibrationParameters(data);
    return 0;
}

}  // namespace com::tovi::dtv::hardware::audio::acoustic_calibration
