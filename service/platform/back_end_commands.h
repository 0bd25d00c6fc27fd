// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>
#include <stdint.h>

namespace com::tovi::dtv::hardware::audio::platform {

/**
 * A command to the back-end audio controller, or its answer: one record of the middleware's custom-spec
 * store. Numbers are little-endian, as is the TV's processor.
 */
struct bectrl_cust_spec_record {
    uint32_t type;  // command: BECTRL_SPEC_…
    uint8_t payload[256];
    uint8_t payloadLength;  // in bytes
    uint8_t zero[3];
};
static_assert(sizeof(bectrl_cust_spec_record) == 264, "the store reads and writes whole records");
static_assert(offsetof(bectrl_cust_spec_record, payload) == 4, "the payload follows the type");
static_assert(offsetof(bectrl_cust_spec_record, payloadLength) == 260, "the length follows the payload");

/** Types of the commands. */
constexpr uint8_t BECTRL_SPEC_BOOT_STATE = 21;
constexpr uint8_t BECTRL_SPEC_AC_DATA = 28;
constexpr uint8_t BECTRL_SPEC_HV_ENABLE = 32;
constexpr uint8_t BECTRL_SPEC_HV_UPMIX = 33;

/** Sends a command to the controller. Returns the middleware's status. Any thread. */
int32_t sendToBackEnd(const bectrl_cust_spec_record& record);

/** Sends a request, which the answer replaces. Returns the middleware's status. Any thread. */
int32_t queryBackEnd(bectrl_cust_spec_record& record);

}  // namespace com::tovi::dtv::hardware::audio::platform
