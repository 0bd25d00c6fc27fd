// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

#include "client/calibration/calibration.h"

namespace hidlaudio::client {

/**
 * Reads what stands behind "GraphicEQ:", points of a curve such as "20 -1.5; 25 0; 31,5 2" in
 * Hz and dB, in any order. `gains` becomes the curve at the bands' centres: straight lines
 * over the logarithm of the frequency between the points, and level beyond the outermost.
 * Returns "", or why it cannot be read; `gains` is then unchanged.
 */
std::string parseGraphicEq(std::string_view text, Gains& gains);

}  // namespace hidlaudio::client
