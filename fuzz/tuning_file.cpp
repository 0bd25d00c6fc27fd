// SPDX-License-Identifier: Apache-2.0

#include "platform/tuning_file.h"

#include <string>

#include "acoustic_calibration/calibration_parameters.h"
#include "input.h"
#include "output_speaker/CenterSpeaker.h"
#include "private_tv.h"

namespace {

using namespace hidlaudio::fuzz;  // NOLINT: of this file
using com::tovi::dtv::hardware::audio::acoustic_calibration::readCalibrationParameters;
using com::tovi::dtv::hardware::audio::platform::kTuningFile;
using com::tovi::dtv::hardware::audio::V3_0::calibrationParameters;
using com::tovi::dtv::hardware::audio::V4_0::implementation::CenterSpeaker;

/** Size of the beginning of the file, which no reader uses. */
constexpr size_t kSkipped = 19'412;
constexpr size_t kBands = 31;

void readParameters() {
    calibrationParameters parameters{};
    const int32_t result = readCalibrationParameters("fuzz", parameters);
    require(result == 0 || result == -1);
    require(parameters == calibrationParameters{} || (result == 0 && parameters.equalizer.size() == kBands));
}

void askCenterSpeaker() {
    const android::sp<CenterSpeaker> speaker = new CenterSpeaker;
    (void)speaker
        ->getCenterSpeakerAcousticsType(
            [](const auto& types) { require(types.size() == 1 && types[0] >= 0 && types[0] <= UINT8_MAX); })
        .isOk();
    (void)speaker
        ->getCenterSpeakerLatency([](const auto& latency) { require(latency.samplingRate == 48000); })
        .isOk();
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    silenceLog();
    makePrivateTv();
    const TvFile ready("/data/vendor/tmp/dtv_svc_is_ready");
    return 0;
}

/**
 * The readers of the acoustic tuning file.
 *
 * Input: a word, which is the size of the file if it is odd; the content of the file after kSkipped bytes.
 */
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const TvFile file(kTuningFile);
    Input input(data, size);
    const auto end = input.take<uint16_t>();
    std::string content(kSkipped, '\0');
    content.append(reinterpret_cast<const char*>(input.take(0)), input.left());
    if (end % 2 != 0) content.resize(std::min<size_t>(content.size(), end));
    file.fill(reinterpret_cast<const uint8_t*>(content.data()), content.size());
    readParameters();
    askCenterSpeaker();
    return 0;
}
