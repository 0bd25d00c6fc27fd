// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>
#include <stdint.h>

namespace hidlaudio::host {

/** Record of a command to the back-end controller, or of a request and its reply. */
struct CustomSpecRecord {
    uint32_t type;
    uint8_t payload[256];
    uint8_t length;  // number of payload bytes in use; the rest is zero
    uint8_t tail[3];
};
static_assert(sizeof(CustomSpecRecord) == 264 && offsetof(CustomSpecRecord, length) == 260,
              "the controller defines the layout of the record");

/** Direction and payload length of a type of record. */
struct CustomSpecType {
    uint32_t type;
    bool isSet;  // true: the daemon writes it; false: it reads it
    uint8_t length;
};

constexpr uint32_t kBootStateType = 21;

constexpr CustomSpecType kCustomSpecTypes[] = {
    {kBootStateType, false, 1},
    {28, true, 36},  // calibration data
    {32, true, 1},   // headphone virtualizer on or off
    {33, true, 1},   // its up-mix on or off
};

}  // namespace hidlaudio::host
