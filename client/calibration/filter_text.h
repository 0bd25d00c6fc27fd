// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

#include "biquad_response.h"

namespace hidlaudio::client {

/** What became of a filter's line. */
struct FilterLine {
    bool on = false;
    Filter filter;       // where it is on
    std::string reason;  // "" where the line was understood
};

/**
 * Reads what stands behind "Filter 1:", such as "ON PK Fc 63 Hz Gain -3.0 dB Q 4.3". Peaks
 * (PK, PEQ) need Q or BW Oct; shelves (LS, LSC, HS, HSC) without either have a Q of 0.71.
 * Others cannot be expressed in gains of bands and are refused.
 */
FilterLine parseFilter(std::string_view text);

}  // namespace hidlaudio::client
