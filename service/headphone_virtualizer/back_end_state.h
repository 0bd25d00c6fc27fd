// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

namespace com::tovi::dtv::hardware::audio::headphone_virtualizer {

/**
 * How a transfer to the back-end audio controller stands, which its driver tells in one
 * proc file for each kind of parameters. Any thread.
 */
struct BeCtrlTransferState {
    int8_t state;    // 0 idle, 1 in progress, any other: no longer in progress
    uint8_t result;  // of the transfer, once it is no longer in progress
};
static_assert(sizeof(BeCtrlTransferState) == 2, "the proc files hold two raw bytes");

constexpr int8_t kBeCtrlIdle = 0;
constexpr int8_t kBeCtrlInProgress = 1;

constexpr char kDeviceStateFile[] = "/proc/driver/tovi_bectrl/audio/device_parameter_complete";
constexpr char kHrtfStateFile[] = "/proc/driver/tovi_bectrl/audio/hrtf_parameter_complete";

/**
 * Reads the state as it is now. Opened afresh: an open proc file goes on showing what it
 * showed first.
 *
 * @return 0; or -5 where the file cannot be read, which is logged: `state` is then as before
 */
int32_t readBeCtrlTransferState(const char* path, BeCtrlTransferState& state);

/** What a transfer's result byte means: 0 done, 1 cancelled, -1 to -3 failed. */
int32_t summarizeTransferResult(uint8_t result);

}  // namespace com::tovi::dtv::hardware::audio::headphone_virtualizer
