// SPDX-License-Identifier: Apache-2.0
#include "scenario_line.h"

#include <android-base/strings.h>

#include <algorithm>
#include <string_view>

#include "daemon_services.h"
#include "host/program/hex.h"
#include "host/program/split_text.h"

namespace hidlaudio::host {
namespace {

using Kind = ScenarioLine::Kind;

/** The commands of `tv` that a scenario may have. */
constexpr char kTvCommands[] = "init, boot, shutdown, config, eeprom, fault, bectrl";
constexpr char kSpace[] = " \t\r";

std::string parseAudioctl(const std::string&, ScenarioLine& line) {
    return line.words.size() < 2 ? "the command is missing" : "";
}

std::string parseTv(const std::string&, ScenarioLine& line) {
    if (line.background) return "only `audioctl` and `client` can run in the background";
    const std::string command = line.words.size() < 2 ? "" : line.words[1];
    const std::vector<std::string> known = android::base::Split(kTvCommands, ", ");
    if (std::find(known.begin(), known.end(), command) == known.end())
        return std::string("the commands of `tv` are ") + kTvCommands;
    if (command == "boot") line.kind = Kind::Boot;
    if (command == "shutdown") line.kind = Kind::Shutdown;
    const bool takesArguments = line.kind == Kind::Command;
    return takesArguments || line.words.size() == 2 ? "" : "this command takes no arguments in a scenario";
}

/** Returns the text after the first `count` words, without white space at its ends. */
std::string textAfter(const std::string& text, size_t count) {
    size_t at = text.find_first_not_of(kSpace);
    for (; count > 0 && at != std::string::npos; --count)
        at = text.find_first_not_of(kSpace, text.find_first_of(kSpace, at));
    if (at == std::string::npos) return "";
    return text.substr(at, text.find_last_not_of(kSpace) + 1 - at);
}

/** Removes ` > VARIABLE` from the end of the words and of the text of the arguments. */
std::string takeVariable(ScenarioLine& line, std::string& arguments) {
    const size_t count = line.words.size();
    if (count < 5 || line.words[count - 2] != ">") return "";
    line.call.variable = line.words[count - 1];
    if (line.call.variable.find_first_of("\"{}$") != std::string::npos) return "VARIABLE must be a name";
    arguments.erase(arguments.rfind('>'));
    return "";
}

std::string parseCall(const std::string& text, ScenarioLine& line) {
    line.kind = Kind::Call;
    const size_t dot = line.words.size() < 3 ? std::string::npos : line.words[2].rfind('.');
    if (dot == std::string::npos) return "expected `client NAME INTERFACE.METHOD [ARGUMENTS] [> VARIABLE]`";
    line.call.client = line.words[1];
    line.call.method = line.words[2].substr(dot + 1);
    line.call.interface = descriptorOf(line.words[2].substr(0, dot));
    if (line.call.interface.empty()) return "there is no service " + line.words[2].substr(0, dot);
    std::string arguments = textAfter(text, 3);
    if (line.background) arguments.pop_back();
    if (line.words.size() == 5 && line.words[3] == ">") arguments = " " + arguments;
    if (std::string problem = takeVariable(line, arguments); !problem.empty()) return problem;
    const bool isEmpty = arguments.find_first_not_of(kSpace) == std::string::npos;
    line.call.arguments = isEmpty ? Json::object() : parseJson(arguments);
    return line.call.arguments.is_object()
               ? ""
               : "the arguments must be an object of JSON with at most 100 levels, on one line";
}

std::string parseKill(const std::string&, ScenarioLine& line) {
    line.kind = Kind::Kill;
    return line.words.size() == 2 ? "" : "expected `kill hidlaudio`, `kill audio_hal` or `kill CLIENT`";
}

std::string parseAwait(const std::string& text, ScenarioLine& line) {
    line.kind = Kind::Await;
    line.content = textAfter(text, 1);
    line.background = false;
    return line.content.empty() ? "expected `await TEXT`" : "";
}

std::string parseFile(const std::string&, ScenarioLine& line) {
    line.kind = Kind::File;
    const std::vector<std::string>& words = line.words;
    const bool isHex = words.size() >= 3 && words.size() <= 4 && words[2] == "hex";
    if (!isHex && (words.size() != 4 || words[2] != "copy"))
        return "expected `file PATH hex DIGITS` or `file PATH copy NAME`";
    if (words[1][0] != '/' || words[1].back() == '/' || words[1].find("..") != std::string::npos)
        return "PATH must be an absolute path of a file without ..";
    if (!isHex) return words[3].find('/') == std::string::npos ? "" : "NAME must be beside the scenario";
    const auto bytes = fromHex(words.size() == 4 ? words[3] : "");
    if (!bytes) return "DIGITS must be pairs of hexadecimal digits";
    line.content = *bytes;
    return "";
}

struct LineParser {
    const char* word;  // the first word of the line
    std::string (*parse)(const std::string& text, ScenarioLine& line);
};

constexpr LineParser kParsers[] = {
    {"tv", parseTv},     {"audioctl", parseAudioctl}, {"client", parseCall},
    {"kill", parseKill}, {"await", parseAwait},       {"file", parseFile},
};

}  // namespace

std::string parseScenarioLine(const std::string& text, ScenarioLine& line) {
    line.text = textAfter(text, 0);
    line.words = splitWords(text);
    line.background = !line.words.empty() && line.words.back() == "&";
    if (line.background) line.words.pop_back();
    if (line.words.empty()) return "the command is missing";
    for (const LineParser& parser : kParsers) {
        if (line.words[0] == parser.word) return parser.parse(line.text, line);
    }
    return "a line begins with tv, audioctl, client, kill, await or file";
}

void formatCall(ScenarioLine& line) {
    line.text = "client " + line.call.client + " " + line.words[2];
    if (!line.call.arguments.empty()) line.text += " " + line.call.arguments.dump();
    if (!line.call.variable.empty()) line.text += " > " + line.call.variable;
    if (line.background) line.text += " &";
}

std::set<std::string> variablesIn(const Json& value) {
    std::set<std::string> names;
    if (value.is_structured()) {
        for (const Json& member : value) names.merge(variablesIn(member));
    } else if (value.is_string() && value.get_ref<const std::string&>().rfind('$', 0) == 0) {
        names.insert(value.get<std::string>().substr(1));
    }
    return names;
}

std::string descriptorOf(const std::string& interface) {
    constexpr std::string_view kInstance = "/default";
    std::string newest;
    for (const std::string service : kDaemonServices) {
        const std::string descriptor = service.substr(0, service.size() - kInstance.size());
        if (descriptor == interface) return interface;
        const size_t colons = descriptor.rfind("::");
        if (descriptor.substr(colons + 2) == interface) newest = std::max(newest, descriptor);
    }
    return newest;
}

}  // namespace hidlaudio::host
