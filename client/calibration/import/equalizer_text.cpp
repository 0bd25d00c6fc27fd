// SPDX-License-Identifier: Apache-2.0
#include "equalizer_text.h"

#include <algorithm>
#include <cmath>

#include "channel_selection.h"
#include "client/calibration/decimal.h"
#include "filter_text.h"
#include "graphic_eq_text.h"
#include "parse_number.h"
#include "text_lines.h"
#include "text_tokens.h"

namespace hidlaudio::client {
namespace {

constexpr double kLargestTextDelay = 10000;  // ms

/** State of importing a text. */
struct Import {
    const TextOptions& options;
    std::vector<std::string> channels;
    Calibration calibration;
    Selection selected;  // selected by the last "Channel:" line
    Selection touched;   // changed by a line
    Selection filtered;  // has a valid filter or curve, even one that is off
    Selection wanted;    // has any filter or curve
    LineNotes notes, faults;
};

/** Calls `change` on each selected channel. */
template <typename Change>
void changeSelected(Import& import, Change change) {
    for (size_t i = 0; i < import.calibration.size(); ++i) {
        if (import.selected[i]) change(import.calibration[i]);
    }
    import.touched |= import.selected;
}

void addGains(Import& import, const Gains& gains) {
    changeSelected(import, [&gains](ChannelCalibration& channel) {
        for (size_t band = 0; band < kBands; ++band) channel.gains[band] += gains[band];
    });
    import.filtered |= import.selected;
}

std::string selectChannel(Import& import, const TextLine& line) {
    import.selected = selectChannels(line, import.channels, import.notes, import.faults);
    if (line.body.empty()) import.faults.add(line.number, "no channel after \"Channel:\"");
    return "";
}

/** Adds the number of a line, which may have a unit, to a value of the selected channels. */
std::string addNumber(Import& import, const TextLine& line, const char* unit, const char* expected,
                      ParsedNumber (*parse)(std::string_view), double ChannelCalibration::* value) {
    std::vector<std::string> words = splitWords(line.body);
    if (words.size() == 2 && words[1] == unit) words.pop_back();
    if (words.size() != 1) return quote(line.body) + " is not " + expected;
    const ParsedNumber number = parse(words[0]);
    if (!number.reason.empty()) return number.reason;
    changeSelected(import, [&](ChannelCalibration& channel) { channel.*value += number.value; });
    return "";
}

std::string addPreamp(Import& import, const TextLine& line) {
    if (import.options.level) return "ignored because of --level";
    return addNumber(import, line, "db", "a gain in dB", parseGain, &ChannelCalibration::level);
}

std::string addDelay(Import& import, const TextLine& line) {
    if (import.options.delay) return "ignored because of --delay";
    const auto parse = [](std::string_view text) {
        return parseInRange("delay", text, 0, kLargestTextDelay);
    };
    return addNumber(import, line, "ms", "a delay in ms", parse, &ChannelCalibration::delay);
}

std::string addGraphicEq(Import& import, const TextLine& line) {
    Gains gains{};
    import.wanted |= import.selected;
    std::string reason = parseGraphicEq(line.body, gains);
    if (reason.empty()) addGains(import, gains);
    return reason;
}

/** Adds a note if the filter lies between two bands and so has less than half its gain at their centers. */
void noteIfMissed(Import& import, const TextLine& line, const Filter& filter, const Gains& gains) {
    double most = 0;
    for (const double gain : gains) most = std::fabs(gain) > std::fabs(most) ? gain : most;
    if (std::fabs(most) >= std::fabs(filter.gain) / 2) return;
    import.notes.add(line.number, "the filter lies between two bands, which get only " + signedText(most, 1) +
                                      " dB of its " + signedText(filter.gain, 1) + " dB");
}

std::string addFilter(Import& import, const TextLine& line) {
    import.wanted |= import.selected;
    const FilterLine parsed = parseFilter(line.body);
    if (!parsed.reason.empty()) return parsed.reason;
    if (!parsed.note.empty()) import.notes.add(line.number, parsed.note);
    Gains gains{};
    for (size_t band = 0; band < kBands && parsed.on; ++band)
        gains[band] = responseAt(parsed.filter, bandCenter(band));
    addGains(import, gains);
    if (!parsed.on) return "the filter is off";
    noteIfMissed(import, line, parsed.filter, gains);
    return "";
}

struct Keyword {
    const char* name;
    std::string (*apply)(Import& import, const TextLine& line);
};

constexpr Keyword kKeywords[] = {{"channel", selectChannel},
                                 {"preamp", addPreamp},
                                 {"delay", addDelay},
                                 {"graphiceq", addGraphicEq},
                                 {"filter", addFilter}};

struct Command {
    const char* name;
    const char* reason;
};

constexpr char kCondition[] = "conditions are not evaluated: keep only the lines that apply";

/** Commands that change the meaning of the other lines. */
constexpr Command kRefusedCommands[] = {
    {"if", kCondition},
    {"elseif", kCondition},
    {"else", kCondition},
    {"endif", kCondition},
    {"eval", "expressions are not evaluated"},
    {"device", "the lines apply to some devices only: keep those for the TV"},
    {"stage", "the lines apply to a part of the processing only: keep those for the TV"},
    {"include", "other files are not read: insert the lines of that file"},
    {"copy", "channels cannot be mixed"},
    {"convolution", "impulse responses are not supported"},
    {"loudnesscorrection", "loudness correction is not supported"},
    {"vstplugin", "plug-ins are not supported"},
};

/** Returns why the whole text is refused because of the line, or an empty string. */
std::string refusalOf(const TextLine& line) {
    if (line.whole.front() == '[') return quote(line.whole) + " begins a section, which is not supported";
    for (const Command& command : kRefusedCommands) {
        const bool forAll = line.keyword == "device" && lowerCase(line.body) == "all";
        if (line.keyword == command.name && !forAll) return quote(line.whole) + ": " + command.reason;
    }
    return "";
}

/** Returns an empty string if the line was used, or why it was not. */
std::string applyLine(Import& import, const TextLine& line) {
    if (line.keyword == "device") return "";  // "all": others are refused
    for (const Keyword& keyword : kKeywords) {
        if (line.keyword != keyword.name) continue;
        if (keyword.apply != selectChannel && import.selected.none()) return "none of its channels is loaded";
        return keyword.apply(import, line);
    }
    return quote(line.whole) + " is not understood";
}

bool isBlankOrComment(const TextLine& line) {
    return line.whole.empty() || line.whole.front() == '#';
}

/** Returns whether `line` belongs to a YAML section that `before` begins. Lines after "Notes:" never do. */
bool isSection(const TextLine& before, const TextLine& line) {
    if (before.keyword.empty() || !before.body.empty() || before.keyword == "notes") return false;
    return line.indent > before.indent || line.whole.substr(0, 2) == "- ";
}

std::string describeSection(const TextLine& heading) {
    constexpr std::string_view kCamillaDsp[] = {"devices", "filters", "mixers", "processors", "pipeline"};
    const bool known =
        std::find(std::begin(kCamillaDsp), std::end(kCamillaDsp), heading.keyword) != std::end(kCamillaDsp);
    return quote(heading.whole) +
           (known ? " begins a section of a CamillaDSP configuration, which is not supported: write its "
                    "filters as \"Filter:\" lines"
                  : " begins a section, which is not supported");
}

/** Processes the lines up to the first section, which adds a fault: its lines have another format. */
void applyLines(Import& import, std::string_view text) {
    TextLine before;
    for (size_t number = 0; !text.empty();) {
        const TextLine line = removeLine(text, number);
        if (isBlankOrComment(line)) continue;
        if (isSection(before, line)) return import.faults.add(before.number, describeSection(before));
        before = line;
        const std::string refusal = refusalOf(line);
        if (!refusal.empty()) import.faults.add(line.number, refusal);
        const std::string reason = refusal.empty() ? applyLine(import, line) : "";
        if (!reason.empty()) import.notes.add(line.number, reason);
    }
}

std::vector<std::string> chooseChannels(std::string_view text, const TextOptions& options) {
    std::vector<std::string> channels = options.channels;
    if (channels.empty()) channels = channelsNamedIn(text);
    if (channels.empty()) channels = {"FL", "FR"};
    return channels;
}

/** Rounds to 0.001 dB. Filters are not more accurate, and calibration files stay short. */
void roundGains(Calibration& calibration) {
    for (ChannelCalibration& channel : calibration) {
        for (double& gain : channel.gains) gain = std::round(gain * 1000) / 1000 + 0.0;
    }
}

Reading finish(const Import& import) {
    Reading reading{import.calibration, import.faults.messages(), import.notes.messages()};
    const bool nothingUsed = import.touched.none() && (import.wanted & ~import.filtered).none();
    if (nothingUsed && reading.faults.empty())
        reading.faults.emplace_back(
            "the text is not JSON and has no usable \"GraphicEQ:\" or \"Filter:\" line");
    std::string unusable;
    for (size_t i = 0; i < import.channels.size(); ++i) {
        const std::string& channel = import.channels[i];
        if (import.wanted[i] && !import.filtered[i])
            unusable += (unusable.empty() ? "" : ", ") + channel;
        else if (!import.touched[i] && !nothingUsed)
            reading.notes.push_back("no line applies to " + channel + ", which becomes flat");
    }
    if (!unusable.empty()) reading.faults.push_back("none of the filters for " + unusable + " can be used");
    return reading;
}

}  // namespace

Reading readEqualizerText(std::string_view text, const TextOptions& options) {
    text = withoutByteOrderMark(text);
    Import import{options, chooseChannels(text, options), {}, Selection().set(), {}, {}, {}, {}, {}};
    import.channels.resize(std::min(import.channels.size(), kMaxChannels));
    for (const std::string& channel : import.channels) {
        import.calibration.push_back({channel, options.level.value_or(0), options.delay.value_or(0), {}});
    }
    applyLines(import, text);
    roundGains(import.calibration);
    return finish(import);
}

}  // namespace hidlaudio::client
