// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace hidlaudio::host {

/** The functions of the middleware that have fault files, soc/faults/<function>. */
constexpr std::string_view kMiddlewareFunctions[] = {
    "IMtkPb_Ctrl_Init",
    "MTAL_InitExCb",
    "DRV_Init",
    "MTAL_Init",
    "a_mtktvapi_config_get_value",
    "a_mtktvapi_config_set_value",
    "MTAUDDEC_GetChannelMainDelaySp",
    "MTAUDDEC_Set32EqualizerBandConfig",
    "MTAUDDEC_SetAcVolumeOffset",
    "MTAUDPOST_GetParameters",
    "MTDRVCUST_dcustom_cust_spec_get",
    "MTDRVCUST_dcustom_cust_spec_set",
    "MTEEPROM_GetProperty",
    "MTEEPROM_Init",
    "MTEEPROM_Read",
};

}  // namespace hidlaudio::host
