// SPDX-License-Identifier: Apache-2.0
#include <errno.h>
#include <stdio.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <optional>
#include <string>

#include "host/audio_hal/operations.h"
#include "host/middleware/functions.h"
#include "host/power/functions.h"
#include "host/program/terminal.h"
#include "host/tv/commands.h"
#include "host/tv/state/tv_folder.h"
#include "host/tv/state/tv_state.h"
#include "host/tv_files/fault_file.h"
#include "host/tv_files/tv_root.h"
#include "host/tv_files/value_file.h"

namespace hidlaudio::host {
namespace {

using Text = std::optional<std::string>;

template <typename Names>
bool isIn(const Names& names, const std::string& name) {
    return std::find(std::begin(names), std::end(names), name) != std::end(names);
}

bool isHalOperation(const std::string& name) {
    return isIn(kHalOperations, name);
}

std::string allFunctions() {
    std::string names;
    for (const std::string_view name : kMiddlewareFunctions) names += "\n  " + std::string(name);
    for (const std::string_view name : kPowerFunctions) names += "\n  " + std::string(name);
    for (const std::string_view name : kHalOperations) names += "\n  " + std::string(name) + " (audio HAL)";
    return names;
}

std::string allResults() {
    std::string names;
    for (size_t i = 0; i < std::size(kHalResults); ++i) {
        names += (i == 0 ? "" : ", ") + std::to_string(i) + " " + std::string(kHalResults[i]);
    }
    return names;
}

/** Prints the fault on one function, or those on all of them. */
int print(const Text& name) {
    for (const FaultState& fault : faultStates()) {
        if (!name || fault.function == *name) printf("%s\n", describe(fault).c_str());
    }
    return kDone;
}

int clear(const Text& name) {
    for (const FaultState& fault : faultStates()) {
        if (name && fault.function != *name) continue;
        if (unlink(fault.path.c_str()) != 0 && errno != ENOENT) return fail(fileError(fault.path, errno));
    }
    return kDone;
}

int set(const std::string& name, const std::string& text) {
    const std::optional<FaultSetting> fault = parseFault(text);
    if (!fault) {
        return fail("\"" + text +
                        "\": STATUS must be a 32-bit number, delay=MILLISECONDS or dies, "
                        "COUNT a number of at least 1, PASS one of at least 0",
                    kWrongUsage);
    }
    if (isHalOperation(name) && fault->kind == FaultKind::Returns && !isHalResult(fault->status)) {
        return fail("the STATUS of " + name + " must be one of " + allResults(), kWrongUsage);
    }
    const std::string path = tvRoot() + (isHalOperation(name) ? kHalFaultFolder : "/soc/faults") + "/" + name;
    const int error = writeValueFile(path, formatFault(*fault));
    return error == 0 ? kDone : fail(fileError(path, error));
}

/** What parseFault takes; its words must each be one. */
std::string joined(const std::string& value, const Text& count, const Text& pass) {
    std::string text = value;
    for (const Text& word : {count, pass}) {
        if (word) text += word->empty() ? " ?" : " " + *word;
    }
    return text;
}

int fault(const Text& name, const Text& value, const Text& count, const Text& pass, bool shallClear) {
    if (!openTv()) return kWrongUsage;
    if (name && !isIn(kMiddlewareFunctions, *name) && !isIn(kPowerFunctions, *name) &&
        !isHalOperation(*name)) {
        return fail(
            "\"" + *name + "\" is no function that a fault can be set on; these are:" + allFunctions(),
            kWrongUsage);
    }
    if (shallClear) return clear(name);
    if (!name || !value) return print(name);
    return set(*name, joined(*value, count, pass));
}

}  // namespace

void addFault(CLI::App& app, int& status) {
    CLI::App* command =
        app.add_subcommand("fault", "Make a function of the middleware or of the audio HAL fail");
    command->footer(
        "Without STATUS the faults that are set are listed. A fault is the file soc/faults/<function>, or\n"
        "hal/faults/<operation>; it takes effect at the next call, or once PASS calls went well. In place "
        "of\n"
        "STATUS, delay=MILLISECONDS lets the function work, but late on the programs' clock, and dies kills\n"
        "the process that serves the call. The audio HAL's STATUS is a Result:\n" +
        allResults() + ".\n\nFunctions:" + allFunctions());
    const CLI::Option* name = addText(command, "FUNCTION", "The function");
    CLI::Option* value =
        addText(command, "STATUS", "What it returns instead of working, or delay=MILLISECONDS, or dies");
    const CLI::Option* count = addText(command, "COUNT", "How many times; without: until it is cleared");
    const CLI::Option* pass = addText(command, "PASS", "How many calls to come are let pass before");
    const CLI::Option* shallClear =
        command->add_flag("--clear", "Take all faults away, or the one on NAME")->excludes(value);
    command->callback([=, &status] {
        status = fault(given(name), given(value), given(count), given(pass), shallClear->count() > 0);
    });
}

}  // namespace hidlaudio::host
