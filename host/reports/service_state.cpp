// SPDX-License-Identifier: Apache-2.0
#include "service_state.h"

#include <optional>

#include "host/program/hex.h"
#include "host/program/parse_number.h"

namespace hidlaudio::host {
namespace {

constexpr char kDaemonFolder[] = "/data/vendor/tovi/hidlaudio/";

enum class Use { Fact, Byte, Word };

/** An item that shows a fact about the TV or the content of a file. */
struct ItemRow {
    const char* service;
    const char* section;
    const char* name;
    Use use;
    const char* target;  // name of the fact, or path of the file
};

constexpr ItemRow kItems[] = {
    {"AcousticCalibration", "model", "back_end_controller", Use::Fact, "back_end"},
    {"CenterSpeaker", "model", "input_available", Use::Fact, "centre_input"},
    {"CenterSpeaker", "model", "synchronized_input_available", Use::Fact, "centre_synchronized"},
    {"AcousticCalibration", "persisted", "enabled", Use::Byte, kEnabledFile},
    {"OutputExternal", "persisted", "bitstream_output_mode", Use::Word, kBitstreamModeFile},
};

/** Adds the text, or the object {"hex": DIGITS}, as the content of a file. */
void noteContent(const std::string& path, const Json& content, const Place& place, Report& report) {
    std::optional<std::string> bytes;
    if (content.is_string()) bytes = content.get<std::string>();
    if (content.is_object() && content.contains("hex") && content["hex"].is_string())
        bytes = fromHex(content["hex"].get<std::string>());
    if (bytes) report.contents.try_emplace(path, FinalValue{*bytes, place});
}

const Json& memberOf(const Json& object, const char* name) {
    static const Json none;
    return object.is_object() && object.contains(name) ? object[name] : none;
}

void noteSections(const Json& state, const Place& place, Report& report) {
    const Json& service = memberOf(state, "service");
    if (!service.is_string()) return;
    for (const auto& [section, items] : state.items()) {
        if (!items.is_object()) continue;
        for (const auto& [name, value] : items.items())
            noteServiceState({service.get<std::string>(), section, name, value.dump()}, place, report);
    }
}

void noteValues(const Json& values, const std::string& folder, const Place& place, Report& report) {
    if (!values.is_object()) return;
    for (const auto& [name, value] : values.items()) {
        if (value.is_number_integer() || value.is_string()) {
            const std::string text = value.is_string() ? value.get<std::string>() : value.dump();
            noteContent(folder + name, text + "\n", place, report);
        }
    }
}

/** Adds the state of a virtual TV, as `tv show --json` prints it. */
void noteTvState(const Json& state, const Place& place, Report& report) {
    noteModel(state, place, report);
    noteValues(memberOf(state, "config"), kConfigFolder, place, report);
    const Json& audio = memberOf(state, "audio");
    if (memberOf(audio, "speaker_delay").is_number_integer())
        noteContent("/soc/audio_decoder/channel_main_delay_sp", audio["speaker_delay"].dump() + "\n", place,
                    report);
    for (const char* const member : {"files", "daemon_files"}) {
        const Json& files = memberOf(state, member);
        if (!files.is_object()) continue;
        for (const auto& [name, content] : files.items())
            noteContent(name[0] == '/' ? name : kDaemonFolder + name, content, place, report);
    }
}

}  // namespace

void noteServiceState(const ServiceItem& item, const Place& place, Report& report) {
    for (const ItemRow& row : kItems) {
        if (item.service != row.service || item.section != row.section || item.name != row.name) continue;
        if (row.use == Use::Fact) {
            report.facts.try_emplace(row.target, FinalValue{item.value == "true" ? "1" : "0", place});
            continue;
        }
        if (const auto number = parseNumber<int32_t>(item.value))
            report.contents.try_emplace(
                row.target, FinalValue{littleEndian(*number, row.use == Use::Byte ? 1 : 4), place});
    }
}

void noteDump(const Json& dump, const Place& place, Report& report) {
    const Json& services = memberOf(dump, "services");
    if (services.is_array())
        for (const Json& service : services) noteSections(memberOf(service, "state"), place, report);
    const Json& states = memberOf(dump, "value");
    if (states.is_object())
        for (const auto& [name, state] : states.items()) noteSections(state, place, report);
    noteTvState(memberOf(dump, "tv_state"), place, report);
}

bool noteModel(const Json& model, const Place& place, Report& report) {
    const Json& name = memberOf(model, "model");
    if (name != "be" && name != "standard") return false;
    report.facts.try_emplace("back_end", FinalValue{name == "be" ? "1" : "0", place});
    const Json& centre = memberOf(model, "centre_input");
    if (centre.is_boolean())
        report.facts.try_emplace("centre_input", FinalValue{centre.get<bool>() ? "1" : "0", place});
    return true;
}

std::string littleEndian(int32_t number, size_t size) {
    std::string bytes;
    for (size_t i = 0; i < size; ++i) bytes += static_cast<char>(static_cast<uint32_t>(number) >> (8 * i));
    return bytes;
}

}  // namespace hidlaudio::host
