// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>
#include <stdint.h>

namespace com::tovi::dtv::hardware::audio::platform {

/**
 * What the middleware's custom-spec store carries to the back-end audio controller and
 * back: one record a command. Numbers are little-endian, as all of this TV's are.
 */
struct bectrl_cust_spec_record {
    uint32_t type;  // which command
    uint8_t payload[256];
    uint8_t payloadLength;
    uint8_t zero[3];
};
static_assert(sizeof(bectrl_cust_spec_record) == 264, "the store takes and gives the whole record");
static_assert(offsetof(bectrl_cust_spec_record, payload) == 4, "the payload follows the type");
static_assert(offsetof(bectrl_cust_spec_record, payloadLength) == 260, "the length follows the payload");

/** The two entries of the store that lead to the controller. */
constexpr uint32_t kBeCtrlSetIdentifier = 0x20185;
constexpr uint32_t kBeCtrlGetIdentifier = 0x20186;

/** The commands, by their type. */
constexpr uint8_t BECTRL_SPEC_BOOT_STATE = 21;
constexpr uint8_t BECTRL_SPEC_AC_DATA = 28;
constexpr uint8_t BECTRL_SPEC_HV_ENABLE = 32;
constexpr uint8_t BECTRL_SPEC_HV_UPMIX = 33;

}  // namespace com::tovi::dtv::hardware::audio::platform
