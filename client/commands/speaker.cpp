// SPDX-License-Identifier: Apache-2.0
#include <com/tovi/dtv/hardware/audio/6.1/IOutputSpeaker.h>
#include <stdio.h>

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "client/commands.h"
#include "client/services/service_call.h"
#include "host/tv_files/value_file.h"

namespace hidlaudio::client {
namespace {

using android::hardware::Return;
using com::tovi::dtv::hardware::audio::V2_0::SurroundType;
using com::tovi::dtv::hardware::audio::V3_1::TvPositionType;
using com::tovi::dtv::hardware::audio::V6_1::IOutputSpeaker;

struct NumberName {
    int32_t number;
    const char* name;
};

constexpr NumberName kSurroundTypes[] = {{static_cast<int32_t>(SurroundType::NONE), "none"},
                                         {static_cast<int32_t>(SurroundType::TYPE_1), "type-1"},
                                         {static_cast<int32_t>(SurroundType::TYPE_2), "type-2"}};
constexpr NumberName kPositions[] = {{static_cast<int32_t>(TvPositionType::TABLE_TOP), "table-top"},
                                     {static_cast<int32_t>(TvPositionType::WALL_MOUNT), "wall-mount"}};

/** Returns the name of the number, or its digits if it has none. */
template <typename Names>
std::string nameOf(const Names& names, int32_t number) {
    for (const NumberName& known : names) {
        if (known.number == number) return known.name;
    }
    return std::to_string(number);
}

std::optional<int32_t> parsePosition(const std::string& text) {
    for (const NumberName& known : kPositions) {
        if (text == known.name) return known.number;
    }
    return host::parseInt32(text);
}

std::string checkPosition(const std::string& text) {
    if (parsePosition(text)) return "";
    return "\"" + text + "\" is not a position; expected table-top, wall-mount or a 32-bit number";
}

template <typename Enum, typename Names>
int printName(const Invocation& invocation, const Return<Enum>& answer, const Names& names,
              const std::string& service) {
    if (const int status = examine(answer, service); status != kDone) return status;
    const std::string name = nameOf(names, static_cast<int32_t>(static_cast<Enum>(answer)));
    return printValue(invocation, name, name);
}

int surround(const Invocation& invocation) {
    return withService<IOutputSpeaker>(invocation, [&](IOutputSpeaker& speaker, const std::string& name) {
        return printName(invocation, speaker.getSurroundType(), kSurroundTypes, name);
    });
}

int position(const Invocation& invocation) {
    return withService<IOutputSpeaker>(invocation, [&](IOutputSpeaker& speaker, const std::string& name) {
        return printName(invocation, speaker.getTvPosition(), kPositions, name);
    });
}

int setPosition(const Invocation& invocation, int32_t position) {
    return withService<IOutputSpeaker>(invocation, [&](IOutputSpeaker& speaker, const std::string& name) {
        const Return<int32_t> result = speaker.setTvPosition(position);
        if (const int status = examine(result, name); status != kDone) return status;
        return reportResult(invocation, "setTvPosition", result, {},
                            "the TV's middleware did not store the position; the audio HAL has received it");
    });
}

int delay(const Invocation& invocation) {
    return withService<IOutputSpeaker>(invocation, [&](IOutputSpeaker& speaker, const std::string& name) {
        const Return<float> answer = speaker.getDelay();
        if (const int status = examine(answer, name); status != kDone) return status;
        const float delay = answer;
        char text[64];
        snprintf(text, sizeof(text), "%.0f", static_cast<double>(delay));
        return printValue(invocation, delay, text);
    });
}

void addSurround(CLI::App* speaker, Invocation& invocation) {
    CLI::App* command = speaker->add_subcommand("surround", "Print the surround type of the TV's speakers");
    command->footer(
        R"(Prints none, type-1 or type-2. The set-up of the TV defines the arrangement that a type stands for.
Prints "none" also if the service cannot read the type; see the daemon's log.

Example:
  audioctl speaker surround)");
    onRun(command, invocation, [&invocation] { return surround(invocation); });
}

void addPosition(CLI::App* speaker, Invocation& invocation) {
    CLI::App* command = speaker->add_subcommand("position", "Print or set the position of the TV");
    command->footer(
        "The service stores the position and sends it to the audio HAL. It accepts any 32-bit number;\n"
        "unknown numbers count as table-top.\n"
        "\n"
        "Positions:\n"
        "  table-top   0\n"
        "  wall-mount  1\n"
        "\n"
        "Examples:\n"
        "  audioctl speaker position\n"
        "  audioctl speaker position wall-mount");
    const CLI::Option* wanted =
        command
            ->add_option_function<std::string>(
                "POSITION", [](const std::string&) {},
                "Set this position, a name or a number (default: print the current one)")
            ->type_name("")
            ->check(checkPosition);
    onRun(command, invocation, [&invocation, wanted] {
        return wanted->count() > 0 ? setPosition(invocation, *parsePosition(wanted->results()[0]))
                                   : position(invocation);
    });
}

void addDelay(CLI::App* speaker, Invocation& invocation) {
    CLI::App* command = speaker->add_subcommand("delay", "Print the delay of the main channel");
    command->footer(
        "Prints the delay in the unit of the audio decoder. Prints 0 also if the service cannot read it;\n"
        "see the daemon's log.\n"
        "\n"
        "Example:\n"
        "  audioctl speaker delay");
    onRun(command, invocation, [&invocation] { return delay(invocation); });
}

}  // namespace

void addSpeaker(CLI::App& app, Invocation& invocation) {
    CLI::App* speaker =
        app.add_subcommand("speaker", "Print settings of the TV's speakers; set the TV's position");
    for (const auto add : {addSurround, addPosition, addDelay}) add(speaker, invocation);
    finishGroup(speaker,
                "Examples:\n"
                "  audioctl speaker surround\n"
                "  audioctl speaker position table-top");
}

}  // namespace hidlaudio::client
