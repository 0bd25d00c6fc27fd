// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

#include "client/calibration/calibration.h"

namespace hidlaudio::client {

/**
 * Parses the text after "GraphicEQ:", points of a curve in Hz and dB, such as "20 -1.5; 25 0; 31,5 2", in any
 * order. Sets `gains` to the curve at the center frequencies of the bands. The curve is linear over the
 * logarithm of the frequency between the points, and constant beyond the outermost ones. Returns an empty
 * string, or an error message; `gains` is then unchanged.
 */
std::string parseGraphicEq(std::string_view text, Gains& gains);

}  // namespace hidlaudio::client
