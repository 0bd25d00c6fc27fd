// SPDX-License-Identifier: Apache-2.0
#include <android-base/file.h>
#include <android-base/unique_fd.h>
#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>

#include <algorithm>
#include <memory>
#include <nlohmann/json.hpp>

#include "client/calibration/applied_values.h"
#include "client/calibration/calibration_json.h"
#include "client/calibration/decimal.h"
#include "client/calibration/display/calibration_table.h"
#include "client/calibration/import/channel_selection.h"
#include "client/calibration/import/import.h"
#include "client/calibration/import/parse_number.h"
#include "client/commands.h"
#include "client/services/calibration_service.h"

namespace hidlaudio::client {
namespace {

constexpr off_t kLargestFile = 65536;

constexpr char kLoadFooter[] =
    R"(FILE is a calibration file or an equalizer text.

A calibration file, as `audioctl calibration save` writes it, is a JSON list of channels. All keys
are required: level in dB, delay in ms, and 31 gains in dB (third octaves from 20 Hz to 20 kHz).
    [{"channel": "FL", "level": -3.0, "delay": 1.5, "equalizer": [31 gains]}, ...]

An equalizer text has the format of Equalizer APO, AutoEq, or the text export of filters of REW:
    GraphicEQ: 20 -1.5; 25 0; 40 2.5
    Filter 1: ON PK Fc 63 Hz Gain -3.0 dB Q 4.3
    Preamp: -6 dB
    Delay: 2.5 ms
    Channel: L R
- GraphicEQ is linear between its points, over the logarithm of the frequency.
- A peak (PK, PEQ) or shelf adds its gain at the center frequency of each band, at 48 kHz.
- All curves and filters of a channel add up. Preamp is the level.
- Channel applies to the lines after it. L is FL, R is FR.
- A shelf may have a Q or a slope, as in LSC 6dB (default: 10.8 dB per octave). LSC, HSC, and LS Q
  and HS Q of REW have half their gain at Fc. For LS and HS, Fc is the corner, as in Equalizer APO;
  a message reports the frequency of half the gain.
- Numbers may have a decimal comma.

Lines that cannot be used are reported with the reason. The whole text is refused if it has
conditions (If), sections, or other commands that change the meaning of its lines (Device, Include,
Copy, ...), if no filter of a channel can be used, or if it is a CamillaDSP configuration.

If FILE has a fault, or a value beyond -9 to 9 dB or 0 to 10 ms, nothing is stored and the exit
status is 2.

First prints the values that a TV with a back-end controller rounds: to 0.1 dB, and to samples at
48 kHz. (Other TVs round only the level, and have no delays.) Then replaces all stored results;
`audioctl calibration on` applies them. The TV uses equalizer and level of FL for both sides, and
the delays of FL and FR. It stores up to 9 channels.

--dry-run needs a TV only with --keep.

With --json: {"result": N}, or with --dry-run {"value": [{"requested": ..., "applied": ...}, ...]}.

Examples:
  echo 'GraphicEQ: 20 3; 20000 0' >room.txt
  audioctl calibration load room.txt --dry-run
  audioctl calibration load room.txt --channel FL --level -2 --clamp
  audioctl calibration load room.txt --channel FR --keep)";

struct LoadOptions {
    std::string file;
    TextOptions text;
    bool clamp = false;
    bool keep = false;
    bool dryRun = false;
};

int readFile(const std::string& path, std::string& text) {
    const android::base::unique_fd fd(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat status{};
    const bool isOpen = fd.ok() && fstat(fd.get(), &status) == 0;
    std::string problem;
    if (isOpen && !S_ISREG(status.st_mode)) {
        problem = "it is not a regular file";
    } else if (isOpen && status.st_size > kLargestFile) {
        problem = "it is larger than the limit of 64 KiB";
    } else if (!isOpen || !android::base::ReadFdToString(fd.get(), &text)) {
        problem = strerror(errno);
    }
    return problem.empty() ? kDone : fail(kWrongUsage, path + ": " + problem);
}

/** Reads the file, and prints its faults and notes. Returns the exit status. */
int import(const LoadOptions& options, Calibration& calibration) {
    std::string text;
    if (const int status = readFile(options.file, text); status != kDone) return status;
    const Reading reading =
        importCalibration(text, options.text, options.clamp ? BeyondLimit::Clamp : BeyondLimit::Refuse);
    for (const std::string& message : reading.notes) note(options.file + ": " + message);
    for (const std::string& message : reading.faults) note(options.file + ": " + message);
    if (!reading.faults.empty()) return fail(kWrongUsage, "nothing was stored");
    calibration = reading.calibration;
    return kDone;
}

/** Adds the stored results of all other channels to `calibration`. Returns the exit status. */
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
    return fail(kWrongUsage, "with the stored channels there are more than 9 channels; nothing was stored");
}

nlohmann::json comparison(const Calibration& calibration) {
    nlohmann::json channels = nlohmann::json::array();
    for (const ChannelCalibration& channel : calibration)
        channels.push_back({{"requested", channel}, {"applied", appliedValues(channel)}});
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

int load(const Invocation& invocation, const LoadOptions& options) {
    Calibration calibration;
    int status = import(options, calibration);
    if (status == kDone && options.keep) status = keepOthers(invocation, calibration);
    if (status != kDone) return status;
    if (!invocation.json) show(calibration);
    if (!options.dryRun) return store(invocation, calibration);
    return invocation.json ? printValue(invocation, comparison(calibration), "") : kDone;
}

/** Converts the arguments of --channel. Returns the exit status. */
int parseChannels(const std::vector<std::string>& words, LoadOptions& options) {
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

void addNumber(host::Command command, const std::string& name, const char* unit, const char* help,
               double least, double most, std::optional<double>& value) {
    command
        .option(("--" + name).c_str(), unit,
                [&value](const std::string& text) { value = parseDecimal(text); }, help)
        .check([=](const std::string& text) { return parseInRange(name, text, least, most).reason; });
}

}  // namespace

void addCalibrationLoad(host::Command parent, Invocation& invocation) {
    const auto options = std::make_shared<LoadOptions>();
    const auto channels = std::make_shared<std::vector<std::string>>();
    const host::Command command = addCommand(
        parent, invocation, "load", "Store results from a file", kLoadFooter,
        [&invocation, options, channels] {
            const int status = parseChannels(*channels, *options);
            return status != kDone ? status : load(invocation, *options);
        },
        [options] { return !options->dryRun || options->keep; });
    command.argument("FILE", options->file, "Load this file").required();
    command
        .option("--channel", "NAME,NAME", *channels,
                "Load these channels of an equalizer text (default: those of its\n"
                "Channel: lines, or else FL,FR)")
        .splitAt(',')
        .onceEach()
        .check([](const std::string& word) { return checkChannelName(channelOf(word)); });
    addNumber(command, "level", "DB", "Set the level of an equalizer text (default: from its Preamp: lines)",
              -kLargestGain, kLargestGain, options->text.level);
    addNumber(command, "delay", "MS", "Set the delay of an equalizer text (default: from its Delay: lines)",
              0, kLongestDelay, options->text.delay);
    command.flag("--clamp", options->clamp, "Limit levels and gains to -9 to 9 dB (default: refuse FILE)");
    command.flag("--keep", options->keep, "Keep the stored results of other channels (default: remove them)");
    command.flag("--dry-run", options->dryRun, "Print the values, but do not store them");
}

}  // namespace hidlaudio::client
