// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <bitset>
#include <string>
#include <string_view>
#include <vector>

#include "client/calibration/calibration.h"
#include "line_notes.h"
#include "text_lines.h"

namespace hidlaudio::client {

/** A set of channels, as indices into a list of channels. */
using Selection = std::bitset<kMaxChannels>;

/** Returns the channel of a name: FL for L and 1, FR for R and 2, or else the name in upper case. */
std::string channelOf(std::string_view word);

/** Returns the known channels in the "Channel:" lines of a text, in order, at most kMaxChannels. */
std::vector<std::string> channelsNamedIn(std::string_view text);

/**
 * Returns the channels that a "Channel:" line selects from `channels`; ALL selects all of them. A known
 * channel that is not in `channels` adds a note. An unknown name adds a fault, because the lines after it
 * would apply to no channel or to a wrong one.
 */
Selection selectChannels(const TextLine& line, const std::vector<std::string>& channels, LineNotes& notes,
                         LineNotes& faults);

}  // namespace hidlaudio::client
