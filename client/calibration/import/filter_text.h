// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

#include "client/calibration/display/biquad_response.h"

namespace hidlaudio::client {

/** The result of reading a filter's line. */
struct FilterLine {
    bool on = false;
    Filter filter;       // if it is on
    std::string reason;  // why the line was not understood, or ""
    std::string note;    // what the user must know of a filter that was, or ""
};

/**
 * Reads the text behind "Filter 1:", such as "ON PK Fc 63 Hz Gain -3.0 dB Q 4.3".
 *
 * - Peaks (PK, PEQ) need Q or BW Oct.
 * - Shelves may have Q, BW Oct, or a slope as in "LSC 6dB"; without, their slope is 0.9 times
 *   12 dB per octave, as in Equalizer APO. LSC and HSC have half their gain at Fc. Fc of LS
 *   and HS is the corner: a line with the shelf's slope through the point of half the gain
 *   reaches the whole gain there. REW's "LS Q" and "HS Q" have half their gain at Fc.
 *
 * Other types cannot be expressed in gains of bands and are refused.
 */
FilterLine parseFilter(std::string_view text);

}  // namespace hidlaudio::client
