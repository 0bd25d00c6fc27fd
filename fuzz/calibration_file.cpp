// SPDX-License-Identifier: Apache-2.0
#include "acoustic_calibration/calibration_file.h"

#include "acoustic_calibration/back_end_path.h"
#include "input.h"
#include "private_tv.h"

namespace {

using namespace com::tovi::dtv::hardware::audio::acoustic_calibration;  // NOLINT: names of the tested code
using hidlaudio::fuzz::require;

constexpr size_t kMaxItems = 10;

void makeTv() {
    hidlaudio::fuzz::silenceLog();
    hidlaudio::fuzz::makePrivateTv();
    const hidlaudio::fuzz::TvFile ready("/data/vendor/tmp/dtv_svc_is_ready");
    const hidlaudio::fuzz::TvFile log("/soc/bectrl/custom_spec.log");
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    makeTv();
    return 0;
}

/** The stored calibration results, as the start of the daemon reads and applies them. Input: the file. */
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const hidlaudio::fuzz::TvFile file(kCalibrationFile);
    file.fill(data, size);
    CalibrationRecords records;
    if (readCalibratedData(records) != 0) return 0;
    require(records.size() <= kMaxItems);
    require(usedChannels(records) <= kMaxChannels);
    for (const aud_ac_data_Table& record : records) {
        require(channelName(record).size() <= kNameLength);
        require(fromRecord(record).equalizer.size() == kBands);
    }
    (void)enableCalibrationBeCtrl(records);
    // The log of the controller's commands grows with each input.
    static const hidlaudio::fuzz::TvFile log("/soc/bectrl/custom_spec.log");
    log.fill(data, 0);
    return 0;
}
