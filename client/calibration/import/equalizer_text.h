// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "client/calibration/calibration.h"

namespace hidlaudio::client {

/** What the user adds to a text. */
struct TextOptions {
    std::vector<std::string> channels;  // to load; none: those that the text names, else FL and FR
    std::optional<double> level;        // dB, in place of the text's
    std::optional<double> delay;        // ms, likewise
};

/**
 * Reads the equalizer of a room-correction program, lines such as
 *
 *   Channel: L R      for the lines that follow; all channels before the first of them
 *   Preamp: -6 dB     adds up to the level
 *   Delay: 2.5 ms     adds up to the delay
 *   GraphicEQ: ...    adds to the bands' gains, as do
 *   Filter 1: ...     those that are on
 *
 * and comments ('#'). Numbers have a point or a comma. Lines that cannot be used are noted
 * with number and reason. A text has a fault if it has conditions, sections or other commands
 * that decide what its lines mean, if a channel's filters are all unusable, or if no line can
 * be used. Takes time and memory in proportion to the text.
 */
Reading readEqualizerText(std::string_view text, const TextOptions& options);

}  // namespace hidlaudio::client
