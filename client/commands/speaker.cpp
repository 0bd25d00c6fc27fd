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

/** The name of the number; a number that has none in digits. */
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
    return "\"" + text + "\" is no position; accepted are table-top, wall-mount and 32-bit numbers";
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
                            "the TV's middleware did not store the position; the audio HAL was told it");
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
    CLI::App* command = speaker->add_subcommand("surround", "Print how the speakers form surround sound");
    command->footer(
        "none, type-1 or type-2; which arrangement of speakers is behind a type, the TV's set-up decides.\n"
        "\"none\" also where the service cannot ask the TV; its log then tells.");
    onRun(command, invocation, [&invocation] { return surround(invocation); });
}

void addPosition(CLI::App* speaker, Invocation& invocation) {
    CLI::App* command = speaker->add_subcommand("position", "Print or set where the TV stands");
    command->footer(
        "The position is stored on the TV, and its audio HAL is told it. The service takes any number and\n"
        "counts those that it does not know as table-top.\n"
        "\n"
        "Examples:\n"
        "  audioctl speaker position\n"
        "  audioctl speaker position wall-mount");
    const CLI::Option* wanted =
        command
            ->add_option_function<std::string>(
                "POSITION", [](const std::string&) {},
                "table-top (0), wall-mount (1) or another number; without it, the present one is printed")
            ->type_name("")
            ->check(checkPosition);
    onRun(command, invocation, [&invocation, wanted] {
        return wanted->count() > 0 ? setPosition(invocation, *parsePosition(wanted->results()[0]))
                                   : position(invocation);
    });
}

void addDelay(CLI::App* speaker, Invocation& invocation) {
    CLI::App* command = speaker->add_subcommand("delay", "Print how late the main channel is");
    command->footer(
        "In the audio decoder's own unit. 0 also where the service cannot ask it; its log then tells.");
    onRun(command, invocation, [&invocation] { return delay(invocation); });
}

}  // namespace

void addSpeaker(CLI::App& app, Invocation& invocation) {
    CLI::App* speaker = app.add_subcommand("speaker", "The TV's own speakers and where it stands");
    speaker->footer(
        "Examples:\n"
        "  audioctl speaker surround\n"
        "  audioctl speaker position table-top");
    speaker->require_subcommand(1);
    for (const auto add : {addSurround, addPosition, addDelay}) add(speaker, invocation);
}

}  // namespace hidlaudio::client
