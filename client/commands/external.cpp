// SPDX-License-Identifier: Apache-2.0
#include <com/tovi/dtv/hardware/audio/3.1/IOutputExternal.h>
#include <stdio.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "client/commands.h"
#include "client/services/service_call.h"

namespace hidlaudio::client {
namespace {

using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::Return;
using com::tovi::dtv::hardware::audio::V3_1::IOutputExternal;
using nlohmann::json;

int get(const Invocation& invocation) {
    return withService<IOutputExternal>(invocation, [&](IOutputExternal& output, const std::string& name) {
        const Return<bool> enabled = output.getForceEncodingEnabled();
        const int status = examine(enabled, name);
        return status != kDone ? status
                               : printValue(invocation, static_cast<bool>(enabled), enabled ? "on" : "off");
    });
}

int set(const Invocation& invocation, bool enable) {
    return withService<IOutputExternal>(invocation, [&](IOutputExternal& output, const std::string& name) {
        const Return<int32_t> result = output.setForceEncodingEnabled(enable);
        const int status = examine(result, name);
        return status != kDone ? status
                               : reportResult(invocation, "setForceEncodingEnabled", result, {},
                                              "the TV's middleware refused; the setting is as before");
    });
}

int printFormat(const Invocation& invocation) {
    return withService<IOutputExternal>(invocation, [&](IOutputExternal& output, const std::string& name) {
        std::string format;
        const Return<void> called =
            output.getEncodingFormat([&format](const hidl_string& current) { format = current; });
        const int status = examine(called, name);
        return status != kDone ? status : printValue(invocation, format, format);
    });
}

int setFormat(const Invocation& invocation, const std::string& format) {
    return withService<IOutputExternal>(invocation, [&](IOutputExternal& output, const std::string& name) {
        const Return<int32_t> result = output.setEncodingFormat(format);
        const int status = examine(result, name);
        return status != kDone ? status
                               : reportResult(invocation, "setEncodingFormat", result, {},
                                              "the service did not take the format");
    });
}

int printFormats(const Invocation& invocation, const std::vector<std::string>& formats) {
    if (invocation.json) return printValue(invocation, formats, "");
    if (formats.empty()) note("none: the TV chooses the format");
    for (const std::string& format : formats) printf("%s\n", format.c_str());
    return kDone;
}

int formats(const Invocation& invocation) {
    return withService<IOutputExternal>(invocation, [&](IOutputExternal& output, const std::string& name) {
        std::vector<std::string> formats;
        const Return<void> called =
            output.getAvailableEncodingFormats([&formats](const hidl_vec<hidl_string>& available) {
                formats.assign(available.begin(), available.end());
            });
        const int status = examine(called, name);
        return status != kDone ? status : printFormats(invocation, formats);
    });
}

void addGet(CLI::App* external, Invocation& invocation) {
    CLI::App* command = external->add_subcommand("get", "Print whether encoding is forced: on or off");
    command->footer(
        "\"off\" also where the service cannot ask the TV; its log then tells.\n"
        "With --json the value is true or false.");
    onRun(command, invocation, [&invocation] { return get(invocation); });
}

void addSet(CLI::App* external, Invocation& invocation) {
    CLI::App* command = external->add_subcommand("set", "Switch forced encoding on or off");
    command->footer(
        "The service keeps the setting and restores it at every start; on a TV that was never set it is on.\n"
        "A result other than 0 is the status of the TV's middleware; the setting is then as before.\n"
        "\n"
        "Example:\n"
        "  audioctl external set off");
    const CLI::Option* mode = command
                                  ->add_option_function<std::string>(
                                      "on|off", [](const std::string&) {}, "on forces encoding, off does not")
                                  ->type_name("")
                                  ->required()
                                  ->check(CLI::IsMember({"on", "off"}).description(""));
    onRun(command, invocation, [&invocation, mode] { return set(invocation, mode->results()[0] == "on"); });
}

void addFormat(CLI::App* external, Invocation& invocation) {
    CLI::App* command = external->add_subcommand("format", "Print or set the encoding format");
    command->footer(
        "Today's services accept any name and go on with \"auto\": the TV chooses the format.\n"
        "\n"
        "Examples:\n"
        "  audioctl external format\n"
        "  audioctl external format auto");
    const CLI::Option* format = command
                                    ->add_option_function<std::string>(
                                        "NAME", [](const std::string&) {},
                                        "The format to set; without it, the present one is printed")
                                    ->type_name("");
    onRun(command, invocation, [&invocation, format] {
        return format->count() > 0 ? setFormat(invocation, format->results()[0]) : printFormat(invocation);
    });
}

void addFormats(CLI::App* external, Invocation& invocation) {
    CLI::App* command = external->add_subcommand("formats", "List the encoding formats, one a line");
    command->footer(
        "Today's services have none to choose from: nothing is printed, {\"value\":[]} with --json.");
    onRun(command, invocation, [&invocation] { return formats(invocation); });
}

}  // namespace

void addExternal(CLI::App& app, Invocation& invocation) {
    CLI::App* external = app.add_subcommand("external", "The external (bitstream) output: forced encoding");
    external->footer(
        "The service keeps the switch of forced encoding and restores it at every start.\n"
        "\n"
        "Examples:\n"
        "  audioctl external get\n"
        "  audioctl external set off\n"
        "  audioctl external formats --json");
    external->require_subcommand(1);
    for (const auto add : {addGet, addSet, addFormat, addFormats}) add(external, invocation);
}

}  // namespace hidlaudio::client
