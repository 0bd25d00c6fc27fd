// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>
#include <stdint.h>

namespace hidlaudio::host {

/** What carries a command to the back-end controller, or a request and its answer. */
struct CustomSpecRecord {
    uint32_t type;
    uint8_t payload[256];
    uint8_t length;  // of the payload that is used; the rest is zero
    uint8_t tail[3];
};
static_assert(sizeof(CustomSpecRecord) == 264 && offsetof(CustomSpecRecord, length) == 260,
              "the record's layout is the controller's");

/** The one way in which a type of record is used. */
struct CustomSpecType {
    uint32_t type;
    bool isSet;
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
