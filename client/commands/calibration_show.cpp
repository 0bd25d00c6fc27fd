// SPDX-License-Identifier: Apache-2.0
#include <langinfo.h>
#include <locale.h>
#include <stdio.h>
#include <string.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <memory>
#include <nlohmann/json.hpp>

#include "calibration_commands.h"
#include "client/calibration/calibration_file.h"
#include "client/calibration/calibration_json.h"
#include "client/calibration/display/calibration_plot.h"
#include "client/calibration/display/calibration_svg.h"
#include "client/calibration/display/calibration_table.h"
#include "client/services/calibration_service.h"
#include "client/terminal/output_file.h"

namespace hidlaudio::client {
namespace {

int writeFile(const Invocation& invocation, const std::string& path, const std::string& content) {
    const std::string problem = writeOutputFile(path, content);
    if (!problem.empty()) return fail(kRefused, problem);
    return path == kStandardOutput ? kDone : reportResult(invocation, "", 0, {}, "");
}

/** A service hands out what its file holds, be it good or not. */
void noteWhatCannotBeLoaded(const std::string& text) {
    for (const std::string& fault : readCalibrationFile(text).faults)
        note("`load` will not take this as it is: " + fault);
}

int save(const Invocation& invocation, const std::string& path) {
    Calibration calibration;
    if (const int status = readStored(invocation, calibration); status != kDone) return status;
    if (calibration.empty()) note("no results are stored: the list is empty");
    const std::string text = writeCalibrationFile(calibration);
    noteWhatCannotBeLoaded(text);
    if (!path.empty()) return writeFile(invocation, path, text);
    if (invocation.json) return printValue(invocation, toJson(calibration), "");
    fputs(text.c_str(), stdout);
    return kDone;
}

Terminal terminalOfOutput() {
    Terminal terminal;
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) terminal.columns = size.ws_col;
    const locale_t locale = newlocale(LC_CTYPE_MASK, "", nullptr);
    terminal.utf8 = locale != nullptr && strcmp(nl_langinfo_l(CODESET, locale), "UTF-8") == 0;
    if (locale != nullptr) freelocale(locale);
    return terminal;
}

int plot(const Invocation& invocation, const std::string& svgPath) {
    Calibration calibration;
    if (const int status = readStored(invocation, calibration); status != kDone) return status;
    if (calibration.empty() && !svgPath.empty())
        return fail(kRefused, "no results are stored: there is nothing to draw");
    if (!svgPath.empty()) return writeFile(invocation, svgPath, drawCalibration(calibration));
    if (invocation.json) return printValue(invocation, toJson(calibration), "");
    if (calibration.empty()) note("no results are stored");
    const Terminal terminal = terminalOfOutput();
    for (const ChannelCalibration& channel : calibration)
        printf("%s%s\n", summarize({channel}).c_str(), plotGains(channel.gains, terminal).c_str());
    return kDone;
}

}  // namespace

void addCalibrationSave(CLI::App* parent, Invocation& invocation) {
    const auto path = std::make_shared<std::string>();
    CLI::App* command = parent->add_subcommand("save", "Write the stored results as a calibration file");
    command->add_option("FILE", *path, "The file, which is replaced; - or nothing is standard output")
        ->type_name("")
        ->check(checkNotEmpty);
    command->footer(
        "An existing file is replaced whole or not at all, and keeps its permissions. Links are followed. A\n"
        "device, a pipe or /dev/fd/N is written to. `audioctl calibration load` reads the file.\n"
        "With --json: {\"result\":0}, and {\"value\":[...]} without FILE.\n"
        "\n"
        "Example:\n"
        "  audioctl calibration save room.json");
    onRun(command, invocation, [&invocation, path] { return save(invocation, *path); });
}

void addCalibrationPlot(CLI::App* parent, Invocation& invocation) {
    const auto path = std::make_shared<std::string>();
    CLI::App* command = parent->add_subcommand("plot", "Show the stored equalizers");
    command
        ->add_option("--svg", *path,
                     "Draw them into that file instead, which is replaced; - is standard output")
        ->type_name("FILE")
        ->check(checkNotEmpty);
    command->footer(
        "As wide as the terminal allows, 80 columns in a pipe; in ASCII where the locale has no UTF-8.\n"
        "With --json the value is what `audioctl calibration save` writes.\n"
        "\n"
        "Example:\n"
        "  audioctl calibration plot --svg room.svg");
    onRun(command, invocation, [&invocation, path] { return plot(invocation, *path); });
}

}  // namespace hidlaudio::client
