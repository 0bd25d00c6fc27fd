// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include "calibration_data.h"

namespace com::tovi::dtv::hardware::audio::acoustic_calibration {

/**
 * The file that keeps the calibration results over a restart:
 *
 *       0  140 bytes a channel, in the client's order
 *     + 0  marker, 01 00 00 00: the delays of the channels before it are valid
 *     + 4  end, 00 00 00 00
 *
 * The first byte tells a channel from the marker and the end, so that a channel
 * without a name ends the file for its readers. They take 10 items at most, the marker
 * among them.
 *
 * One call at a time: the caller holds the lock of the file.
 */

/** Where it lies. Its folder is there already. */
constexpr char kCalibrationFile[] = "/data/vendor/tovi/hidlaudio/aud_ac.data";

/**
 * Writes the whole file anew; the data must have been checked.
 *
 * @return 0; -1, logged in the name of `function`, where the file cannot be made, or a
 *     channel not be written: half a calibration is none, so the file is then removed
 */
int32_t writeCalibratedData(const char* function, const ClientData& data);

/**
 * Appends the channels of the file to `records`, which are empty. Without a marker
 * their delays are 0.
 *
 * @return 0; or -1, logged, where the file cannot be read up to its end: the records
 *     before that are not to be used
 */
int32_t readCalibratedData(CalibrationRecords& records);

}  // namespace com::tovi::dtv::hardware::audio::acoustic_calibration
