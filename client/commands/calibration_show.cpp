// SPDX-License-Identifier: Apache-2.0
#include <langinfo.h>
#include <locale.h>
#include <stdio.h>
#include <string.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <memory>
#include <nlohmann/json.hpp>

#include "client/calibration/calibration_file.h"
#include "client/calibration/calibration_json.h"
#include "client/calibration/display/calibration_plot.h"
#include "client/calibration/display/calibration_svg.h"
#include "client/calibration/display/calibration_table.h"
#include "client/commands.h"
#include "client/services/calibration_service.h"
#include "host/program/output_file.h"

namespace hidlaudio::client {
namespace {

int writeFile(const Invocation& invocation, const std::string& path, const std::string& content) {
    const std::string problem = host::writeOutputFile(path, content);
    if (!problem.empty()) return fail(kRefused, problem);
    return path == host::kStandardOutput ? kDone : reportResult(invocation, "", 0, {}, "");
}

/** Reports faults of the stored results: the service returns the content of its file unchecked. */
void noteFaults(const std::string& text) {
    for (const std::string& fault : readCalibrationFile(text).faults)
        note("`audioctl calibration load` will refuse this: " + fault);
}

int save(const Invocation& invocation, const std::string& path) {
    Calibration calibration;
    if (const int status = readStored(invocation, calibration); status != kDone) return status;
    if (calibration.empty()) note("no results are stored: the list is empty");
    const std::string text = writeCalibrationFile(calibration);
    noteFaults(text);
    if (!path.empty()) return writeFile(invocation, path, text);
    if (invocation.json) return printValue(invocation, calibration, "");
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
    if (invocation.json) return printValue(invocation, calibration, "");
    if (calibration.empty()) note("no results are stored");
    const Terminal terminal = terminalOfOutput();
    for (const ChannelCalibration& channel : calibration)
        printf("%s%s\n", summarize({channel}).c_str(), plotGains(channel.gains, terminal).c_str());
    return kDone;
}

}  // namespace

void addCalibrationSave(host::Command parent, Invocation& invocation) {
    const auto path = std::make_shared<std::string>();
    const host::Command command = addCommand(
        parent, invocation, "save", "Write the stored results as a calibration file",
        R"(`audioctl calibration load` reads the file. A regular file is replaced atomically and keeps its
permissions; a device, a pipe or /dev/fd/N is written directly. Symbolic links are followed.

With --json: {"value": [...]} without FILE, {"result": 0} with FILE, only the file with -.

Example:
  audioctl calibration save room.json)",
        [&invocation, path] { return save(invocation, *path); });
    command.argument("FILE", *path, "Replace this file; - is standard output (default: standard output)")
        .notEmpty();
}

void addCalibrationPlot(host::Command parent, Invocation& invocation) {
    const auto path = std::make_shared<std::string>();
    const host::Command command = addCommand(
        parent, invocation, "plot", "Plot the stored equalizers",
        R"(The plot is as wide as the terminal (default: 80 columns), in ASCII if the locale is not UTF-8.
With --json: {"result": 0} with --svg, or else the value of `audioctl calibration save --json`.

Examples:
  echo 'GraphicEQ: 20 3; 20000 0' >room.txt
  audioctl calibration load room.txt
  audioctl calibration plot
  audioctl calibration plot --svg room.svg)",
        [&invocation, path] { return plot(invocation, *path); });
    command
        .option("--svg", "FILE", *path,
                "Replace this file with an SVG picture (-: standard output;\n"
                "default: plot in the terminal)")
        .notEmpty();
}

}  // namespace hidlaudio::client
