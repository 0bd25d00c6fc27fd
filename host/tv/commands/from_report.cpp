// SPDX-License-Identifier: Apache-2.0
#include <signal.h>
#include <stdio.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "host/program/hex.h"
#include "host/program/output_file.h"
#include "host/program/split_text.h"
#include "host/program/terminal.h"
#include "host/reports/make_scenario.h"
#include "host/reports/report_files.h"
#include "host/reports/scenario_files.h"
#include "host/tv/commands.h"
#include "host/tv_control/processes/child.h"
#include "host/tv_control/processes/programs.h"
#include "host/tv_files/regular_file.h"

namespace hidlaudio::host {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

struct FromReportOptions {
    std::vector<std::string> paths;
    std::string output;
};

/** Creates the output folder. Returns an error message, or "". */
std::string makeOutputFolder(const std::string& folder) {
    std::error_code error;
    if (fs::exists(fs::symlink_status(folder, error))) {
        const bool isEmpty = fs::is_directory(folder, error) && fs::is_empty(folder, error) && !error;
        return isEmpty ? "" : folder + " exists and is not an empty folder; it was not changed";
    }
    fs::create_directories(folder, error);
    return error ? folder + ": " + error.message() : "";
}

/** Runs a command of this program on the TV. Returns an error message, or "". */
std::string runTv(const std::string& tv, std::vector<std::string> words) {
    const std::string errors = tv + ".errors";
    words[0] = fileOf("tv");
    words.insert(words.begin() + 1, {"--tv", tv});
    pid_t pid = 0;
    if (const int error = startChild({words, {}, "/dev/null", errors, "/"}, pid); error != 0)
        return fileError(words[0], error);
    const auto status = statusWithin(pid, 60s);
    if (!status) endChild(pid, SIGKILL, 1s);
    std::error_code ignored;
    fs::remove(errors, ignored);
    return status == 0 ? ""
                       : "tv " + words[3] + " " + (status ? describe(*status) : "did not end within 60 s");
}

/** Writes a file as the line `file PATH hex DIGITS` or `file PATH copy NAME` does. */
std::string writeTvFile(const std::string& tv, const std::vector<std::string>& words,
                        const MadeScenario& scenario) {
    const std::string path = tv + words[1];
    std::error_code error;
    fs::create_directories(fs::path(path).parent_path(), error);
    if (error) return path + ": " + error.message();
    const std::string argument = words.size() > 3 ? words[3] : "";
    return writeOutputFile(path,
                           words[2] == "copy" ? scenario.files.at(argument) : fromHex(argument).value_or(""));
}

/** Makes a TV in the state of the scenario before the first start. */
std::string makeTvOf(const MadeScenario& scenario, const std::string& tv) {
    for (const std::string& line : scenario.setup) {
        const std::vector<std::string> words = splitWords(line);
        const std::string problem = words[0] == "file" ? writeTvFile(tv, words, scenario) : runTv(tv, words);
        if (!problem.empty()) return problem;
    }
    return "";
}

void printSummary(const MadeScenario& scenario, const std::string& folder) {
    printf("calls: %zu\nboots: %zu\nclients: %zu\nfaults: %zu\nassumptions: %zu\nwarnings: %zu\n",
           scenario.calls, scenario.boots, scenario.clients, scenario.faults, scenario.assumptions,
           scenario.warnings);
    printf("notes: %s/notes.txt\nnext: tv replay %s/%s\n", folder.c_str(), folder.c_str(), kScenarioFile);
}

int fromReport(const FromReportOptions& options) {
    Report report;
    MadeScenario scenario;
    if (const std::string problem = readReportFiles(options.paths, report); !problem.empty())
        return fail(problem, kWrongUsage);
    if (const std::string problem = makeScenario(report, scenario); !problem.empty())
        return fail(problem, kWrongUsage);
    const std::string folder = fs::absolute(options.output).lexically_normal().string();
    if (const std::string problem = makeOutputFolder(folder); !problem.empty()) return fail(problem);
    if (const std::string problem = writeScenarioFiles(scenario, folder); !problem.empty())
        return fail(problem);
    if (const std::string problem = makeTvOf(scenario, folder + "/tv"); !problem.empty())
        return fail(problem);
    constexpr size_t kMaxWarnings = 20;
    for (size_t i = 0; i < report.warnings.size() && i < kMaxWarnings; ++i) note(report.warnings[i]);
    if (report.warnings.size() > kMaxWarnings) note("more warnings are in notes.txt");
    printSummary(scenario, options.output);
    return kDone;
}

}  // namespace

void addFromReport(Command app, int& status) {
    const auto options = std::make_shared<FromReportOptions>();
    const Command command = app.addCommand("from-report", "Make a scenario from a bug report of a TV");
    command.setHelp(
        "Reads what a bug report has of the daemon and writes a scenario that repeats it on a virtual TV.\n"
        "The files are recognized by their content. Any of these may be given, and a folder is searched for\n"
        "them:\n"
        "  - the log of a TV, from logcat in the formats threadtime, time or brief, or from a virtual TV\n"
        "  - the text file of a bug report of the platform\n"
        "  - the output of `audioctl dump --all`, `audioctl dump` or `lshal debug`\n"
        "  - a copy of the daemon's data folder, or the folder of a virtual TV\n"
        "  - a record of `tv record`; calls, clients and arguments are then those of the record\n"
        "\n"
        "Calls, clients, faults and the state of the TV before its start are inferred from the log. The\n"
        "output folder gets:\n"
        "  report.scenario  the scenario\n"
        "  report.log       the lines of the daemon, unless only a record was given\n"
        "  notes.txt        where each inference comes from, what was assumed, and the warnings\n"
        "  tv/              a TV in the state before the first start",
        {"0  the scenario was written, perhaps with warnings",
         "1  DIR exists and is not empty, or the output cannot be written",
         "2  the arguments are wrong, a file cannot be read or has an unknown content, there is no line of\n"
         "     the daemon, or the logs of two TVs are mixed"},
        {"tv from-report bugreport.txt --output case",
         "tv from-report logcat.txt calls.jsonl data/ --output case"});
    command.argument("FILE", options->paths, "Files and folders of the report").required().notEmpty();
    command
        .option("--output", "DIR", options->output, "Write to this folder, which must be empty or not exist")
        .required()
        .notEmpty();
    command.onRun([options, &status] { status = fromReport(*options); });
}

}  // namespace hidlaudio::host
