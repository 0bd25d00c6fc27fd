// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include <string_view>

namespace hidlaudio::host {

/** Folders of the primary audio HAL's parameters and faults, below the root of the virtual TV. */
constexpr char kHalParameterFolder[] = "/hal/parameters";
constexpr char kHalFaultFolder[] = "/hal/faults";

/** The operations that have fault files, hal/faults/<operation>. */
constexpr std::string_view kHalOperations[] = {"openPrimaryDevice", "setParameters", "getParameters"};

/** The names of the HAL's Result values, from 0 on. */
constexpr std::string_view kHalResults[] = {"OK", "NOT_INITIALIZED", "INVALID_ARGUMENTS", "INVALID_STATE",
                                            "NOT_SUPPORTED"};

constexpr bool isHalResult(int32_t status) {
    return status >= 0 && static_cast<size_t>(status) < sizeof(kHalResults) / sizeof(kHalResults[0]);
}

}  // namespace hidlaudio::host
