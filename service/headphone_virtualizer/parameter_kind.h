// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <com/tovi/dtv/hardware/audio/5.0/types.h>

#include "back_end_state.h"
#include "back_end_transfer.h"

namespace com::tovi::dtv::hardware::audio::headphone_virtualizer {

using V5_0::ParamType;

/** Constants of a kind of parameters. */
struct ParameterKind {
    ParamType type;
    uint32_t setIoctl;
    uint32_t cancelIoctl;
    const char* wakeLock;
    const char* stateFile;  // path of the proc file with the state of a transfer
};

constexpr ParameterKind kDeviceParameters{ParamType::DEVICE, BECTRL_IOC_SET_DEVICE_PARAMETER,
                                          BECTRL_IOC_CANCEL_DEVICE_PARAMETER, "HidlAudioDevice",
                                          kDeviceStateFile};
constexpr ParameterKind kHrtfParameters{ParamType::HRTF, BECTRL_IOC_SET_HRTF_PARAMETER,
                                        BECTRL_IOC_CANCEL_HRTF_PARAMETER, "HidlAudioHrtf", kHrtfStateFile};

}  // namespace com::tovi::dtv::hardware::audio::headphone_virtualizer
