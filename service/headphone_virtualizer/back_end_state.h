// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

namespace com::tovi::dtv::hardware::audio::headphone_virtualizer {

/**
 * State of a transfer to the back-end audio controller. The driver reports it in one proc file per kind of
 * parameters. Any thread.
 */
struct BeCtrlTransferState {
    int8_t state;    // 0 idle, 1 in progress; any other value means that the transfer has ended
    uint8_t result;  // of the transfer; valid after it has ended
};
static_assert(sizeof(BeCtrlTransferState) == 2, "the proc files hold two raw bytes");

constexpr int8_t kBeCtrlIdle = 0;
constexpr int8_t kBeCtrlInProgress = 1;

constexpr char kDeviceStateFile[] = "/proc/driver/tovi_bectrl/audio/device_parameter_complete";
constexpr char kHrtfStateFile[] = "/proc/driver/tovi_bectrl/audio/hrtf_parameter_complete";

/**
 * Reads the current state. Opens the file at each call: an open proc file keeps returning the content of
 * the first read.
 *
 * @return 0, or -5 if the file cannot be read, which is logged; `state` is unchanged then
 */
int32_t readBeCtrlTransferState(const char* path, BeCtrlTransferState& state);

/** Converts the result byte of a transfer: returns 0 for done, 1 for cancelled, -1 to -3 for failed. */
int32_t summarizeTransferResult(uint8_t result);

}  // namespace com::tovi::dtv::hardware::audio::headphone_virtualizer
