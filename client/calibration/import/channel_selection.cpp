// SPDX-License-Identifier: Apache-2.0
#include "channel_selection.h"

#include <algorithm>

#include "text_tokens.h"

namespace hidlaudio::client {
namespace {

struct Alias {
    const char* word;
    const char* channel;
};

constexpr Alias kAliases[] = {{"l", "FL"}, {"1", "FL"}, {"r", "FR"}, {"2", "FR"}};
constexpr char kAll[] = "all";

/** Channel names that room-correction programs write, besides the aliases. */
constexpr const char* kKnown[] = {"FL", "FR", "C", "LFE", "SUB", "RL", "RR", "RC", "SL", "SR"};

bool isKnown(const std::string& channel) {
    return std::find(std::begin(kKnown), std::end(kKnown), channel) != std::end(kKnown);
}

std::string unknownChannel(const std::string& channel) {
    std::string names = "L, R";
    for (const char* known : kKnown) names += std::string(", ") + known;
    return "unknown channel " + quote(channel) + "; expected " + names + ", or one of --channel";
}

bool contains(const std::vector<std::string>& channels, const std::string& channel) {
    return std::find(channels.begin(), channels.end(), channel) != channels.end();
}

void addChannels(const TextLine& line, std::vector<std::string>& channels) {
    for (const std::string& word : splitWords(line.body)) {
        const std::string channel = channelOf(word);
        if (isKnown(channel) && !contains(channels, channel) && channels.size() < kMaxChannels)
            channels.push_back(channel);
    }
}

}  // namespace

std::string channelOf(std::string_view word) {
    const std::string lower = lowerCase(word);
    for (const Alias& alias : kAliases) {
        if (lower == alias.word) return alias.channel;
    }
    std::string channel = lower;
    std::transform(channel.begin(), channel.end(), channel.begin(),
                   [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
    return channel;
}

std::vector<std::string> channelsNamedIn(std::string_view text) {
    std::vector<std::string> channels;
    for (size_t number = 0; !text.empty();) {
        const TextLine line = removeLine(text, number);
        if (line.keyword == "channel") addChannels(line, channels);
    }
    return channels;
}

Selection selectChannels(const TextLine& line, const std::vector<std::string>& channels, LineNotes& notes,
                         LineNotes& faults) {
    Selection selected;
    for (const std::string& word : splitWords(line.body)) {
        const std::string channel = channelOf(word);
        const auto found = std::find(channels.begin(), channels.end(), channel);
        if (word == kAll) {
            selected.set();
        } else if (found != channels.end()) {
            selected.set(static_cast<size_t>(found - channels.begin()));
        } else if (isKnown(channel)) {
            notes.add(line.number, "channel " + channel + " is not loaded");
        } else {
            faults.add(line.number, unknownChannel(channel));
        }
    }
    return selected;
}

}  // namespace hidlaudio::client
