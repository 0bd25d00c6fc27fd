// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "client/calibration/calibration.h"

namespace hidlaudio::client {

/** The user's options for a text. */
struct TextOptions {
    std::vector<std::string> channels;  // to load; if empty, those in the text, or else FL and FR
    std::optional<double> level;        // dB, replaces that of the text
    std::optional<double> delay;        // ms, replaces that of the text
};

/**
 * Parses the equalizer text of a room-correction program, with lines such as
 *
 *   Channel: L R      selects channels for the lines after it; before the first one, all are selected
 *   Preamp: -6 dB     is added to the level
 *   Delay: 2.5 ms     is added to the delay
 *   GraphicEQ: ...    is added to the gains
 *   Filter 1: ...     is added to the gains if the filter is on
 *   # ...             is a comment
 *
 * Numbers have a decimal point or comma. A line that cannot be used adds a note with line number and reason.
 * A text has a fault if it has conditions, sections or other commands that change the meaning of its lines,
 * if no filter of a channel can be used, or if no line can be used. Takes time and memory in proportion to
 * the size of the text.
 */
Reading readEqualizerText(std::string_view text, const TextOptions& options);

}  // namespace hidlaudio::client
