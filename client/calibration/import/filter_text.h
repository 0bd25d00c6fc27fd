// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

#include "biquad_response.h"

namespace hidlaudio::client {

/** The result of parsing a filter. */
struct FilterLine {
    bool on = false;
    Filter filter;       // if it is on
    std::string reason;  // error message, or empty
    std::string note;    // warning about a filter that can be used, or empty
};

/**
 * Parses the text after "Filter 1:", such as "ON PK Fc 63 Hz Gain -3.0 dB Q 4.3".
 *
 * - Peaks (PK, PEQ) need Q or BW Oct.
 * - Shelves may have Q, BW Oct, or a slope as in "LSC 6dB". The default is 0.9 times 12 dB per octave, as in
 *   Equalizer APO. LSC, HSC, and "LS Q" and "HS Q" of REW have half their gain at Fc. For LS and HS, Fc is
 *   the corner: a line with the slope of the shelf, through the point of half the gain, reaches the full gain
 *   there.
 *
 * Other types cannot be expressed as gains of bands and are refused.
 */
FilterLine parseFilter(std::string_view text);

}  // namespace hidlaudio::client
