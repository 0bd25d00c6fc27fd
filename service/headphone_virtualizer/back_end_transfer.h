// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <sys/ioctl.h>

namespace com::tovi::dtv::hardware::audio::headphone_virtualizer {

/**
 * The driver of the back-end audio controller, which reads parameters from the memory of the daemon. The
 * device is open only during each call. Any thread.
 */

/** Argument of a set request. The address is 64 bits wide in a 32-bit process too. */
struct bectrl_param_transfer_arg {
    uint32_t count;  // number of bytes
    uint32_t zero;
    uint64_t address;
};
static_assert(sizeof(bectrl_param_transfer_arg) == 16, "the driver reads 16 bytes");
static_assert(offsetof(bectrl_param_transfer_arg, address) == 8, "the address is the second half");

/** The driver's requests. */
constexpr uint32_t BECTRL_IOC_SET_HRTF_PARAMETER = _IOWR('c', 0, bectrl_param_transfer_arg);
constexpr uint32_t BECTRL_IOC_SET_DEVICE_PARAMETER = _IOWR('c', 1, bectrl_param_transfer_arg);
constexpr uint32_t BECTRL_IOC_CANCEL_HRTF_PARAMETER = _IOWR('c', 2, bectrl_param_transfer_arg);
constexpr uint32_t BECTRL_IOC_CANCEL_DEVICE_PARAMETER = _IOWR('c', 3, bectrl_param_transfer_arg);
static_assert(BECTRL_IOC_SET_HRTF_PARAMETER == 0xC0106300, "the number that the driver defines");

/**
 * Starts the transfer of `count` bytes at `data`. The data must stay allocated and unchanged until the
 * transfer has ended, which readBeCtrlTransferState() reports.
 *
 * @param request BECTRL_IOC_SET_…
 * @return 0, or -5 if the driver cannot be opened or refuses, which is logged
 */
int32_t setParametersToBeCtrl(uint32_t request, const uint8_t* data, uint32_t count);

/**
 * Requests the end of a transfer and returns at once. readBeCtrlTransferState() then reports the result.
 *
 * @param request BECTRL_IOC_CANCEL_…
 * @return 0, or -5 if the driver cannot be opened or refuses, which is logged
 */
int32_t notifyCancelToBeCtrl(uint32_t request);

}  // namespace com::tovi::dtv::hardware::audio::headphone_virtualizer
