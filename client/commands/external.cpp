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
                                              "the TV's middleware refused; the setting is unchanged");
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
                                              "the service refused the format");
    });
}

int printFormats(const Invocation& invocation, const std::vector<std::string>& formats) {
    if (invocation.json) return printValue(invocation, formats, "");
    if (formats.empty()) note("no formats: the TV chooses the format");
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
    CLI::App* command = external->add_subcommand("get", "Print whether encoding is forced");
    command->footer(
        "Prints \"on\" or \"off\". Prints \"off\" also if the service cannot read the setting; see the "
        "daemon's\n"
        "log. With --json the value is true or false.\n"
        "\n"
        "Example:\n"
        "  audioctl external get");
    onRun(command, invocation, [&invocation] { return get(invocation); });
}

void addSet(CLI::App* external, Invocation& invocation) {
    CLI::App* command = external->add_subcommand("set", "Switch forced encoding on or off");
    command->footer(
        "The service stores the setting and restores it at every start. On a new TV it is on. A result\n"
        "other than 0 is the status of the TV's middleware; the setting is then unchanged.\n"
        "\n"
        "Example:\n"
        "  audioctl external set off");
    const CLI::Option* mode =
        command
            ->add_option_function<std::string>(
                "on|off", [](const std::string&) {}, "Force encoding (on), or not (off)")
            ->type_name("")
            ->required()
            ->check(CLI::IsMember({"on", "off"}).description(""));
    onRun(command, invocation, [&invocation, mode] { return set(invocation, mode->results()[0] == "on"); });
}

void addFormat(CLI::App* external, Invocation& invocation) {
    CLI::App* command = external->add_subcommand("format", "Print or set the encoding format");
    command->footer(
        "The TV chooses the format: the service accepts any name without effect, and reports \"auto\".\n"
        "\n"
        "Examples:\n"
        "  audioctl external format\n"
        "  audioctl external format auto");
    const CLI::Option* format =
        command
            ->add_option_function<std::string>(
                "NAME", [](const std::string&) {}, "Set this format (default: print the current one)")
            ->type_name("");
    onRun(command, invocation, [&invocation, format] {
        return format->count() > 0 ? setFormat(invocation, format->results()[0]) : printFormat(invocation);
    });
}

void addFormats(CLI::App* external, Invocation& invocation) {
    CLI::App* command =
        external->add_subcommand("formats", "List the available encoding formats, one per line");
    command->footer(
        "The TV chooses the format: the service reports no formats. With --json the value is an array.\n"
        "\n"
        "Example:\n"
        "  audioctl external formats --json");
    onRun(command, invocation, [&invocation] { return formats(invocation); });
}

}  // namespace

void addExternal(CLI::App& app, Invocation& invocation) {
    CLI::App* external = app.add_subcommand("external", "Control the external (bitstream) audio output");
    for (const auto add : {addGet, addSet, addFormat, addFormats}) add(external, invocation);
    finishGroup(external,
                "Examples:\n"
                "  audioctl external get\n"
                "  audioctl external set off");
}

}  // namespace hidlaudio::client
