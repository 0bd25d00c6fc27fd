// SPDX-License-Identifier: Apache-2.0
#include <com/tovi/dtv/hardware/audio/5.1/IHeadphoneVirtualizer.h>
#include <stdio.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "client/commands.h"
#include "client/services/service_call.h"
#include "virtualizer_upload.h"

namespace hidlaudio::client {
namespace {

using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::Return;
using com::tovi::dtv::hardware::audio::V5_1::IHeadphoneVirtualizer;
using nlohmann::json;

/** The getter and setter of a switch. */
struct Switch {
    Return<bool> (IHeadphoneVirtualizer::*get)();
    Return<int32_t> (IHeadphoneVirtualizer::*set)(bool);
    const char* setter;
};

constexpr Switch kEnabled = {&IHeadphoneVirtualizer::getVirtualizerEnabled,
                             &IHeadphoneVirtualizer::setVirtualizerEnabled, "setVirtualizerEnabled"};
constexpr Switch kUpmix = {&IHeadphoneVirtualizer::getUpmixEnabled, &IHeadphoneVirtualizer::setUpmixEnabled,
                           "setUpmixEnabled"};

int get(const Invocation& invocation, const Switch& which) {
    return withService<IHeadphoneVirtualizer>(invocation, [&](IHeadphoneVirtualizer& virtualizer,
                                                              const std::string& name) {
        const Return<bool> on = (virtualizer.*which.get)();
        const int status = examine(on, name);
        return status != kDone ? status : printValue(invocation, static_cast<bool>(on), on ? "on" : "off");
    });
}

int set(const Invocation& invocation, const Switch& which, bool enable) {
    return withService<IHeadphoneVirtualizer>(
        invocation, [&](IHeadphoneVirtualizer& virtualizer, const std::string& name) {
            const Return<int32_t> result = (virtualizer.*which.set)(enable);
            const int status = examine(result, name);
            if (status != kDone) return status;
            return reportResult(
                invocation, which.setter, result,
                {{-5, "not supported: the TV has no back-end controller, or its platform is not ready"}},
                "the TV's middleware refused; the switch is unchanged");
        });
}

int printType(const Invocation& invocation) {
    return withService<IHeadphoneVirtualizer>(invocation, [&](IHeadphoneVirtualizer& virtualizer,
                                                              const std::string& name) {
        std::string type;
        const int status = examine(
            virtualizer.getVirtualizerType([&type](const hidl_string& current) { type = current; }), name);
        return status != kDone ? status : printValue(invocation, type, type);
    });
}

int setType(const Invocation& invocation, const std::string& type) {
    return withService<IHeadphoneVirtualizer>(invocation, [&](IHeadphoneVirtualizer& virtualizer,
                                                              const std::string& name) {
        const Return<int32_t> result = virtualizer.setVirtualizerType(type);
        const int status = examine(result, name);
        return status != kDone
                   ? status
                   : reportResult(invocation, "setVirtualizerType", result,
                                  {{-5, "unknown type; list the types with `audioctl virtualizer types`"}},
                                  "the service refused the type");
    });
}

int types(const Invocation& invocation) {
    return withService<IHeadphoneVirtualizer>(
        invocation, [&](IHeadphoneVirtualizer& virtualizer, const std::string& name) {
            std::vector<std::string> all;
            const int status =
                examine(virtualizer.getAvailableVirtualizerTypes([&all](const hidl_vec<hidl_string>& types) {
                    all.assign(types.begin(), types.end());
                }),
                        name);
            if (status != kDone) return status;
            if (invocation.json) return printValue(invocation, all, "");
            for (const std::string& type : all) printf("%s\n", type.c_str());
            return static_cast<int>(kDone);
        });
}

int maxAppend(const Invocation& invocation) {
    return withService<IHeadphoneVirtualizer>(invocation, [&](IHeadphoneVirtualizer& virtualizer,
                                                              const std::string& name) {
        const Return<int32_t> size = virtualizer.getMaxAppendSize();
        const int status = examine(size, name);
        if (status != kDone) return status;
        return printValue(invocation, static_cast<int32_t>(size), std::to_string(static_cast<int32_t>(size)));
    });
}

CLI::Option* addOptional(CLI::App* command, const char* name, const char* help) {
    return command->add_option_function<std::string>(name, [](const std::string&) {}, help)->type_name("");
}

void addSwitches(CLI::App* parent, Invocation& invocation) {
    CLI::App* status = parent->add_subcommand("status", "Print whether the virtualizer is on or off");
    status->footer(
        "Prints \"on\" or \"off\", \"off\" also on a TV without a back-end controller. With --json the value "
        "is\n"
        "true or false.\n"
        "\n"
        "Example:\n"
        "  audioctl virtualizer status");
    onRun(status, invocation, [&invocation] { return get(invocation, kEnabled); });
    CLI::App* on = parent->add_subcommand("on", "Switch the virtualizer on");
    on->footer(
        "Needs a TV with a back-end controller. The virtualizer is off after a restart of the service.\n"
        "\n"
        "Example:\n"
        "  audioctl virtualizer on");
    onRun(on, invocation, [&invocation] { return set(invocation, kEnabled, true); });
    CLI::App* off = parent->add_subcommand("off", "Switch the virtualizer off");
    off->footer(
        "Needs a TV with a back-end controller.\n"
        "\n"
        "Example:\n"
        "  audioctl virtualizer off");
    onRun(off, invocation, [&invocation] { return set(invocation, kEnabled, false); });
    CLI::App* upmix = parent->add_subcommand("upmix", "Print or set upmixing of sound with few channels");
    upmix->footer(
        "Needs a TV with a back-end controller to set it. Upmixing is on after a restart of the service.\n"
        "With --json the printed value is true or false.\n"
        "\n"
        "Examples:\n"
        "  audioctl virtualizer upmix\n"
        "  audioctl virtualizer upmix off");
    const CLI::Option* mode = addOptional(upmix, "on|off", "Set this state (default: print the current one)")
                                  ->check(CLI::IsMember({"on", "off"}).description(""));
    onRun(upmix, invocation, [&invocation, mode] {
        return mode->count() > 0 ? set(invocation, kUpmix, mode->results()[0] == "on")
                                 : get(invocation, kUpmix);
    });
}

void addTypes(CLI::App* parent, Invocation& invocation) {
    CLI::App* type = parent->add_subcommand("type", "Print or set the virtualizer's type");
    type->footer(
        "`audioctl virtualizer types` lists the types. Their names are case-sensitive.\n"
        "\n"
        "Examples:\n"
        "  audioctl virtualizer type\n"
        "  audioctl virtualizer type Tovi");
    const CLI::Option* name = addOptional(type, "NAME", "Set this type (default: print the current one)");
    onRun(type, invocation, [&invocation, name] {
        return name->count() > 0 ? setType(invocation, name->results()[0]) : printType(invocation);
    });
    CLI::App* all = parent->add_subcommand("types", "List the types, one per line");
    all->footer(
        "With --json the value is an array.\n"
        "\n"
        "Example:\n"
        "  audioctl virtualizer types");
    onRun(all, invocation, [&invocation] { return types(invocation); });
    CLI::App* append = parent->add_subcommand("max-append", "Print the upload limit per call, in bytes");
    append->footer(
        "The service accepts at most this many bytes per append() call. `audioctl virtualizer upload` uses\n"
        "it as the default of --chunk.\n"
        "\n"
        "Example:\n"
        "  audioctl virtualizer max-append");
    onRun(append, invocation, [&invocation] { return maxAppend(invocation); });
}

}  // namespace

void addVirtualizer(CLI::App& app, Invocation& invocation) {
    CLI::App* virtualizer =
        app.add_subcommand("virtualizer", "Control the headphone virtualizer; upload parameters");
    addSwitches(virtualizer, invocation);
    addTypes(virtualizer, invocation);
    addVirtualizerUpload(virtualizer, invocation);
    finishGroup(virtualizer,
                "The switches are reset when the service restarts.\n"
                "\n"
                "Examples:\n"
                "  audioctl virtualizer on\n"
                "  audioctl virtualizer upmix off");
}

}  // namespace hidlaudio::client
