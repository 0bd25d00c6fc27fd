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

/** Some of the channels of a text, by their place in its list. */
using Selection = std::bitset<kMaxChannels>;

/** The channel that a user means by a word: L and 1 are FL, R and 2 are FR, others in upper case. */
std::string channelOf(std::string_view word);

/** The channels that the "Channel:" lines of a text name, in order: the known ones, at most kMaxChannels. */
std::vector<std::string> channelsNamedIn(std::string_view text);

/**
 * Those of `channels` that a "Channel:" line selects; ALL is all of them. Notes known
 * channels that are not among them. Any other name is a fault: the lines that follow would
 * go to no channel, or to a wrong one.
 */
Selection selectChannels(const TextLine& line, const std::vector<std::string>& channels, LineNotes& notes,
                         LineNotes& faults);

}  // namespace hidlaudio::client
