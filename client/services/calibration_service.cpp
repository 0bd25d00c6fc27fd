// SPDX-License-Identifier: Apache-2.0
#include "calibration_service.h"

#include <algorithm>

#include "service_call.h"

namespace hidlaudio::client {
namespace {

using android::hardware::hidl_vec;
using android::hardware::Return;
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

int readStored(CalibrationService& service, const std::string& name, Calibration& calibration) {
    return examine(service.getCalibratedData([&calibration](const hidl_vec<calibratedData>& all) {
        std::transform(all.begin(), all.end(), std::back_inserter(calibration), fromService);
    }),
                   name);
}

int readStored(const Invocation& invocation, Calibration& calibration) {
    return withService<CalibrationService>(invocation,
                                           [&](CalibrationService& service, const std::string& name) {
                                               return readStored(service, name, calibration);
                                           });
}

int store(const Invocation& invocation, const Calibration& calibration) {
    hidl_vec<calibratedData> data(calibration.size());
    std::transform(calibration.begin(), calibration.end(), data.begin(), toService);
    return withService<CalibrationService>(
        invocation, [&](CalibrationService& service, const std::string& name) {
            const Return<int32_t> result = service.setCalibratedData(data);
            if (const int status = examine(result, name); status != kDone) return status;
            return reportResult(
                invocation, "setCalibratedData", result, {},
                "the service could not write its file, or rejected a value; the stored results are "
                "unchanged or lost");
        });
}

}  // namespace hidlaudio::client
