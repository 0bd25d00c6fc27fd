// SPDX-License-Identifier: Apache-2.0
#include "calibration_service.h"

#include <algorithm>

namespace hidlaudio::client {
namespace {

using android::hardware::hidl_vec;
using com::tovi::dtv::hardware::audio::V3_0::calibratedData;

ChannelCalibration fromService(const calibratedData& data) {
    ChannelCalibration channel{
        data.channel, static_cast<double>(data.level), static_cast<double>(data.delay), {}};
    const size_t bands = std::min<size_t>(kBands, data.equalizer.size());
    for (size_t band = 0; band < bands; ++band)
        channel.gains[band] = static_cast<double>(data.equalizer[band].gain);
    return channel;
}

calibratedData toService(const ChannelCalibration& channel) {
    calibratedData data;
    data.channel = channel.channel;
    data.level = static_cast<float>(channel.level);
    data.delay = static_cast<float>(channel.delay);
    data.equalizer.resize(kBands);
    for (size_t band = 0; band < kBands; ++band)
        data.equalizer[band] = {"Parametric", 0, 0, static_cast<float>(channel.gains[band])};
    return data;
}

}  // namespace

int readStored(const CalibrationService& service, Calibration& calibration) {
    hidl_vec<calibratedData> stored;
    const int status = service.call(stored, &IAcousticCalibration::getCalibratedData);
    std::transform(stored.begin(), stored.end(), std::back_inserter(calibration), fromService);
    return status;
}

int readStored(const Invocation& invocation, Calibration& calibration) {
    return withService<IAcousticCalibration>(invocation, [&calibration](const CalibrationService& service) {
        return readStored(service, calibration);
    });
}

int store(const Invocation& invocation, const Calibration& calibration) {
    hidl_vec<calibratedData> data(calibration.size());
    std::transform(calibration.begin(), calibration.end(), data.begin(), toService);
    int32_t result = 0;
    const int status = callService(invocation, result, &IAcousticCalibration::setCalibratedData, data);
    if (status != kDone) return status;
    return reportResult(invocation, "setCalibratedData", result, {},
                        "the service could not write its file, or rejected a value; the stored results are "
                        "unchanged or lost");
}

}  // namespace hidlaudio::client
