// SPDX-License-Identifier: Apache-2.0
#include <errno.h>
#include <stdio.h>
#include <string.h>

#include <algorithm>
#include <memory>
#include <nlohmann/json.hpp>

#include "calibration_commands.h"
#include "client/calibration/applied_values.h"
#include "client/calibration/calibration_json.h"
#include "client/calibration/decimal.h"
#include "client/calibration/display/calibration_table.h"
#include "client/calibration/import/channel_selection.h"
#include "client/calibration/import/import.h"
#include "client/calibration/import/parse_number.h"
#include "client/services/calibration_service.h"
#include "host/tv_files/value_file.h"

namespace hidlaudio::client {
namespace {

constexpr char kFooter[] =
    R"(FILE is one of these:

* a calibration file, as `audioctl calibration save` makes it: a JSON list of channels
    [{"channel":"FL", "level":-3.0, "delay":1.5, "equalizer":[31 gains]}, ...]
  with dB, ms, and the gains of the third octaves from 20 Hz to 20 kHz; all of it is needed
* an equalizer: a text for Equalizer APO, also as AutoEq writes it, or the filter settings that REW
  exports as text, with lines such as
    GraphicEQ: 20 -1.5; 25 0; 40 2.5
    Filter 1: ON PK Fc 63 Hz Gain -3.0 dB Q 4.3
    Preamp: -6 dB
    Delay: 2.5 ms
    Channel: L R
  Between the points of a GraphicEQ lie straight lines over the logarithm of the frequency; peaks (PK,
  PEQ) and shelves count with their response at 48 kHz at each band's centre. All of them add up.
  Preamp is the level. Channel is for the lines that follow; L is FL and R is FR. Numbers may have a
  decimal comma.
  Shelves may have a Q or a slope (LSC 6dB); otherwise the slope is 10.8 dB per octave. LSC, HSC, and
  REW's LS Q and HS Q have half their gain at Fc. For LS and HS, Fc is the corner, as in Equalizer APO:
  a note gives the frequency of half the gain.

Each line that cannot be used is named, with the reason. A text is refused as a whole if it has
conditions (If), sections, or other commands that change the meaning of its lines (Device, Include,
Copy, ...), if none of a channel's filters can be used, or if it is a CamillaDSP configuration.

A fault, or a value beyond -9 to 9 dB or 0 to 10 ms, means that nothing is sent, with status 2; --clamp
takes the nearest level or gain. --dry-run needs a TV only with --keep.

First the values are shown that a TV with a back-end controller rounds: to 0.1 dB, and to samples at
48 kHz. (Others round the level only, and have no delay.) Then the service stores the results in place
of all former ones; they are heard after `audioctl calibration on`. The TV takes equalizer and level
from FL, for both sides, and delays from FL and FR; further channels are only stored, 9 in all.

With --json: {"result":N}; with --dry-run, too, the requested and the applied values.

Examples:
  audioctl calibration load room.json --dry-run
  audioctl calibration load left.txt --channel FL --level -2 --clamp
  audioctl calibration load right.txt --channel FR --keep)";

struct Options {
    std::string file;
    TextOptions text;
    bool clamp = false;
    bool keep = false;
    bool dryRun = false;
};

std::string checkChannel(const std::string& word) {
    return checkChannelName(channelOf(word));
}

std::string checkLevel(const std::string& text) {
    return readQuantity("level", text, -kLargestGain, kLargestGain).reason;
}

std::string checkDelay(const std::string& text) {
    return readQuantity("delay", text, 0, kLongestDelay).reason;
}

int readFile(const std::string& path, std::string& text) {
    const int error = host::readValueFile(path, text);
    if (error == 0) return kDone;
    const std::string why = error == EFBIG    ? "it has more than 64 KiB, which no calibration needs"
                            : error == EINVAL ? "it is no regular file"
                                              : strerror(error);
    return fail(kWrongUsage, path + ": " + why);
}

/** Reads the file and tells what the user must know about it; the exit status. */
int import(const Options& options, Calibration& calibration) {
    std::string text;
    if (const int status = readFile(options.file, text); status != kDone) return status;
    const Reading reading =
        importCalibration(text, options.text, options.clamp ? BeyondLimit::Clamp : BeyondLimit::Refuse);
    for (const std::string& message : reading.notes) note(options.file + ": " + message);
    for (const std::string& message : reading.faults) note(options.file + ": " + message);
    if (!reading.faults.empty()) return fail(kWrongUsage, "nothing was sent");
    calibration = reading.calibration;
    return kDone;
}

/** The stored results, with those of the loaded channels replaced and new ones added. */
int keepOthers(const Invocation& invocation, Calibration& calibration) {
    Calibration merged;
    if (const int status = readStored(invocation, merged); status != kDone) return status;
    for (const ChannelCalibration& channel : calibration) {
        const auto former = std::find_if(
            merged.begin(), merged.end(),
            [&channel](const ChannelCalibration& stored) { return stored.channel == channel.channel; });
        if (former != merged.end()) {
            *former = channel;
        } else {
            merged.push_back(channel);
        }
    }
    calibration = merged;
    if (calibration.size() <= kMaxChannels) return kDone;
    return fail(kWrongUsage, "with those kept there are more than 9 channels: nothing was sent");
}

nlohmann::json comparison(const Calibration& calibration) {
    nlohmann::json channels = nlohmann::json::array();
    for (const ChannelCalibration& channel : calibration)
        channels.push_back({{"requested", toJson(channel)}, {"applied", toJson(appliedValues(channel))}});
    return channels;
}

void show(const Calibration& calibration) {
    const std::string table = roundingTable(calibration);
    printf("%s%s%s", table.c_str(), table.empty() ? "" : "\n", summarize(calibration).c_str());
    const bool hasFrontLeft =
        std::any_of(calibration.begin(), calibration.end(),
                    [](const ChannelCalibration& channel) { return channel.channel == "FL"; });
    if (!hasFrontLeft) note("without a channel FL, the TV's equalizer and level are flat");
}

int load(const Invocation& invocation, const Options& options) {
    Calibration calibration;
    int status = import(options, calibration);
    if (status == kDone && options.keep) status = keepOthers(invocation, calibration);
    if (status != kDone) return status;
    if (!invocation.json) show(calibration);
    if (!options.dryRun) return store(invocation, calibration);
    return invocation.json ? printValue(invocation, comparison(calibration), "") : kDone;
}

/** What the user gave for the texts, in the form that the readers take. */
int takeChannels(const std::vector<std::string>& words, Options& options) {
    options.text.channels.clear();
    for (const std::string& word : words) {
        const std::string channel = channelOf(word);
        const auto& before = options.text.channels;
        if (std::find(before.begin(), before.end(), channel) != before.end())
            return fail(kWrongUsage, "--channel names " + channel + " twice");
        options.text.channels.push_back(channel);
    }
    if (words.size() <= kMaxChannels) return kDone;
    return fail(kWrongUsage, "--channel takes at most 9 channels");
}

void addNumber(CLI::App* command, const char* name, const char* unit, const char* help,
               std::string (*check)(const std::string&), std::optional<double>& value) {
    command
        ->add_option_function<std::string>(
            name, [&value](const std::string& text) { value = parseDecimal(text); }, help)
        ->type_name(unit)
        ->check(check);
}

}  // namespace

void addCalibrationLoad(CLI::App* parent, Invocation& invocation) {
    const auto options = std::make_shared<Options>();
    const auto channels = std::make_shared<std::vector<std::string>>();
    CLI::App* command = parent->add_subcommand("load", "Store results from a file");
    command->add_option("FILE", options->file, "What to load")->type_name("")->required();
    command
        ->add_option("--channel", *channels,
                     "For an equalizer: the channels to load; otherwise those of its Channel: lines,\n"
                     "else FL,FR")
        ->type_name("NAME,NAME")
        ->delimiter(',')
        ->allow_extra_args(false)
        ->check(checkChannel);
    addNumber(command, "--level", "DB", "For an equalizer: the level, in place of its Preamp: lines",
              checkLevel, options->text.level);
    addNumber(command, "--delay", "MS", "For an equalizer: the delay, in place of its Delay: lines",
              checkDelay, options->text.delay);
    command->add_flag("--clamp", options->clamp, "Take 9 dB for what is beyond");
    command->add_flag("--keep", options->keep, "Keep the stored results of other channels");
    command->add_flag("--dry-run", options->dryRun, "Show what would be stored, and send nothing");
    command->footer(kFooter);
    onRun(
        command, invocation,
        [&invocation, options, channels] {
            const int status = takeChannels(*channels, *options);
            return status != kDone ? status : load(invocation, *options);
        },
        [options] { return !options->dryRun || options->keep; });
}

}  // namespace hidlaudio::client
