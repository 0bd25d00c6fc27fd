// SPDX-License-Identifier: Apache-2.0
#include <com/tovi/dtv/hardware/audio/6.1/IOutputSpeaker.h>
#include <stdio.h>

#include <memory>

#include "client/commands.h"
#include "host/program/parse_number.h"
#include "value_commands.h"

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
    return host::parseNumber<int32_t>(text);
}

std::string checkPosition(const std::string& text) {
    if (parsePosition(text)) return "";
    return "\"" + text + "\" is not a position; expected table-top, wall-mount or a 32-bit number";
}

template <typename Enum, typename Names>
int printName(const Invocation& invocation, Return<Enum> (IOutputSpeaker::*get)(), const Names& names) {
    Enum value{};
    const int status = callService(invocation, value, get);
    if (status != kDone) return status;
    const std::string name = nameOf(names, static_cast<int32_t>(value));
    return printValue(invocation, name, name);
}

int printDelay(const Invocation& invocation) {
    float delay = 0;
    const int status = callService(invocation, delay, &IOutputSpeaker::getDelay);
    if (status != kDone) return status;
    char text[64];
    snprintf(text, sizeof(text), "%.0f", static_cast<double>(delay));
    return printValue(invocation, delay, text);
}

void addSurround(host::Command speaker, Invocation& invocation) {
    addCommand(
        speaker, invocation, "surround", "Print the surround type of the TV's speakers",
        R"(Prints none, type-1 or type-2. The set-up of the TV defines the arrangement that a type stands for.
Prints "none" also if the service cannot read the type; see the daemon's log.

Example:
  audioctl speaker surround)",
        [&invocation] { return printName(invocation, &IOutputSpeaker::getSurroundType, kSurroundTypes); });
}

void addPosition(host::Command speaker, Invocation& invocation) {
    const auto position = std::make_shared<std::optional<std::string>>();
    const host::Command command = addCommand(
        speaker, invocation, "position", "Print or set the position of the TV",
        R"(The service stores the position and sends it to the audio HAL. It accepts any 32-bit number;
unknown numbers count as table-top.

Positions:
  table-top   0
  wall-mount  1

Examples:
  audioctl speaker position
  audioctl speaker position wall-mount)",
        [&invocation, position] {
            if (!*position) return printName(invocation, &IOutputSpeaker::getTvPosition, kPositions);
            return setValue(invocation, "setTvPosition", &IOutputSpeaker::setTvPosition,
                            *parsePosition(**position), {},
                            "the TV's middleware did not store the position; the audio HAL has received it");
        });
    command
        .argument("POSITION", *position,
                  "Set this position, a name or a number (default: print the current one)")
        .check(checkPosition);
}

void addDelay(host::Command speaker, Invocation& invocation) {
    addCommand(
        speaker, invocation, "delay", "Print the delay of the main channel",
        R"(Prints the delay in the unit of the audio decoder. Prints 0 also if the service cannot read it;
see the daemon's log.

Example:
  audioctl speaker delay)",
        [&invocation] { return printDelay(invocation); });
}

}  // namespace

void addSpeaker(host::Command app, Invocation& invocation) {
    const host::Command speaker =
        app.addCommand("speaker", "Print settings of the TV's speakers; set the TV's position");
    for (const auto add : {addSurround, addPosition, addDelay}) add(speaker, invocation);
    finishGroup(speaker,
                "Examples:\n"
                "  audioctl speaker surround\n"
                "  audioctl speaker position table-top");
}

}  // namespace hidlaudio::client
