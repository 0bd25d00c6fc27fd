// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include "calibration_data.h"

namespace com::tovi::dtv::hardware::audio::acoustic_calibration {

/**
 * The file that keeps the calibration results over a restart:
 *
 *       0  140 bytes per channel, in the client's order
 *     + 0  marker, 01 00 00 00: the delays of the channels before it are valid
 *     + 4  end, 00 00 00 00
 *
 * A reader identifies an item by its first byte, so a channel without a name is read as the end. At most 10
 * items are read, including the marker.
 *
 * One call at a time: the caller holds the lock of the file.
 */

/** Path of the file. The init script creates its folder. */
constexpr char kCalibrationFile[] = "/data/vendor/tovi/hidlaudio/aud_ac.data";

/**
 * Rewrites the whole file. The data must have been checked.
 *
 * @param function function name printed in the log
 * @return 0, or -1 if the file cannot be created or a channel cannot be written, which is logged. If a
 *     channel cannot be written, the file is removed, since partial results are not usable.
 */
int32_t writeCalibratedData(const char* function, const ClientData& data);

/**
 * Appends the channels of the file to `records`, which must be empty. If no marker is read, all delays are
 * set to 0.
 *
 * @return 0, or -1 if the file cannot be read up to its end, which is logged; `records` must not be used
 *     then
 */
int32_t readCalibratedData(CalibrationRecords& records);

}  // namespace com::tovi::dtv::hardware::audio::acoustic_calibration
