// SPDX-License-Identifier: Apache-2.0
#include "calibration_state.h"

#include <optional>

#include "calibration_data.h"
#include "calibration_file.h"
#include "enabled_flag.h"
#include "platform/persisted_file.h"
#include "smooth_delay.h"

namespace com::tovi::dtv::hardware::audio::acoustic_calibration {
namespace {

using platform::PersistedFile;

constexpr int64_t kMarkerAndEnd = 8;

std::optional<int64_t> keptSwitch(const std::optional<PersistedFile>& file) {
    return file && file->size > 0 ? std::optional<int64_t>(file->start[0]) : std::nullopt;
}

/** Computes the number of channels from the file size. Returns `std::nullopt` for an incomplete file. */
std::optional<int64_t> keptChannels(const std::optional<PersistedFile>& file) {
    constexpr int64_t kRecordSize = sizeof(aud_ac_data_Table);
    if (!file || file->size < kMarkerAndEnd || (file->size - kMarkerAndEnd) % kRecordSize != 0) return {};
    return (file->size - kMarkerAndEnd) / kRecordSize;
}

}  // namespace

std::vector<platform::StateItem> describeSmoothDelay() {
    const std::lock_guard lock(calibrationLock);
    return {platform::yesNo("enabled", smoothDelay().enabled),
            platform::number("channels", static_cast<int64_t>(smoothDelay().values.size()))};
}

std::vector<platform::StateItem> describeFiles() {
    const std::optional<PersistedFile> results = platform::inspectFile(kCalibrationFile);
    return {platform::text("enabled_file", kEnabledFile),
            platform::number("enabled", keptSwitch(platform::inspectFile(kEnabledFile))),
            platform::text("results_file", kCalibrationFile),
            platform::number("results_bytes", results ? std::optional(results->size) : std::nullopt),
            platform::number("results_channels", keptChannels(results))};
}

}  // namespace com::tovi::dtv::hardware::audio::acoustic_calibration
