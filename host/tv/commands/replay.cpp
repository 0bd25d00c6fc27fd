// SPDX-License-Identifier: Apache-2.0
#include <errno.h>
#include <stdio.h>
#include <stdlib.h>

#include <algorithm>
#include <filesystem>
#include <memory>

#include "host/program/terminal.h"
#include "host/reports/scenario_files.h"
#include "host/scenario/harness/scratch_folder.h"
#include "host/scenario/harness/worker_pool.h"
#include "host/scenario/trace.h"
#include "host/tv/commands.h"
#include "host/tv_files/regular_file.h"

namespace hidlaudio::host {
namespace {

namespace fs = std::filesystem;

/** Number of lines before a difference that are printed. */
constexpr size_t kContext = 5;

struct ReplayOptions {
    std::string scenario;
    std::string against;
    std::string daemon;
    bool keep = false;
};

/** The results of one run of the scenario. */
struct Replay {
    std::vector<std::string> problems;
    Trace answers;
    Trace log;
};

nlohmann::json runOnce(const Scenario& scenario, const RunSetup& setup) {
    const RunResult result = runScenario(scenario, setup);
    nlohmann::json json{{"problems", result.problems}, {"answers", nlohmann::json::array()}};
    for (const TraceLine& line : answersOf(scenario, result))
        json["answers"].push_back({line.lane, line.text});
    return json;
}

/** Runs the scenario in a process of its own, so that its programs end with it. Returns an error message. */
std::string replayIn(const std::string& folder, const ReplayOptions& options, const Scenario& scenario,
                     const ScratchFolder& scratch, const Interrupt& interrupt, Replay& replay) {
    RunSetup setup{folder + ".model", folder, scratch.parameters(), {}, {}};
    setup.daemon = options.daemon;
    if (std::string problem = makeTestTv({setup.model, "/"}, scenario.model); !problem.empty())
        return "tv init: " + problem;
    PoolWork pool;
    pool.count = 1;
    pool.run = [&](size_t) { return runOnce(scenario, setup); };
    nlohmann::json result;
    pool.done = [&](size_t, const nlohmann::json& json) { result = json; };
    if (!runAll(pool, interrupt)) return "interrupted";
    if (!result.is_object()) return "the process of the run crashed";
    replay.problems = result["problems"].get<std::vector<std::string>>();
    for (const auto& line : result["answers"]) replay.answers.push_back({line[0], line[1]});
    std::string problem = readLogTrace(folder + "/tv/log/hidlaudio.log", replay.log);
    addCrashes(replay.problems, replay.log);
    return problem;
}

void printSide(const char* name, const char* mark, const Trace& trace, size_t at) {
    const std::string text = at < trace.size() ? trace[at].text : "(no more lines)";
    printf("%s %s: %s\n", mark, name, text.c_str());
}

/** Prints the first difference and the given lines before it. Returns the exit status. */
int report(const Trace& given, const Trace& actual) {
    const auto difference = firstDifference(given, actual);
    if (!difference) {
        printf("same: %zu lines\n", given.size());
        return kDone;
    }
    printf("different at line %zu of %zu:\n", difference->given + 1, given.size());
    for (size_t i = difference->given - std::min(difference->given, kContext); i < difference->given; ++i)
        printf("  %s\n", given[i].text.c_str());
    printSide("given ", "-", given, difference->given);
    printSide("replay", "+", actual, difference->actual);
    return kFailed;
}

/** Makes a scenario from a record, in `folder`, and reads it. Returns an error message, or "". */
std::string readRecordedScenario(const std::string& record, const std::string& folder, Scenario& scenario) {
    std::string problem = makeScenarioFiles({record}, folder);
    return problem.empty() ? readScenario(folder + "/" + kScenarioFile, scenario) : problem;
}

/**
 * Returns the file that the run is compared with, or "". Unless one is given, this is the record itself or
 * the log beside the scenario.
 */
std::string baselineOf(const ReplayOptions& options, const Scenario& scenario) {
    if (!options.against.empty()) return options.against;
    if (isRecord(options.scenario)) return options.scenario;
    const std::string log = fs::path(scenario.path).replace_extension(".log");
    std::error_code ignored;
    return fs::is_regular_file(log, ignored) ? log : "";
}

/** Prints the violations of a run that is compared with nothing. Returns the exit status. */
int reportProblems(const Replay& replay, size_t lines) {
    for (const std::string& problem : replay.problems) printf("%s\n", problem.c_str());
    if (replay.problems.empty()) printf("no violation: %zu lines\n", lines);
    return replay.problems.empty() ? kDone : kFailed;
}

/** Copies the TV to a folder that remains. Returns an error message, or "". */
std::string keepTv(const std::string& root) {
    std::string kept = fs::temp_directory_path() / "tv.XXXXXX";
    if (mkdtemp(kept.data()) == nullptr) return fileError(kept, errno);
    std::error_code error;
    fs::remove_all(root + "/run", error);  // sockets cannot be copied, and `tv boot` creates the folder
    fs::copy(root, kept + "/tv", fs::copy_options::recursive, error);
    if (error) return fileError(kept, error.value());
    printf("the TV is in %s/tv\n", kept.c_str());
    return "";
}

int replay(ReplayOptions options) {
    if (!options.daemon.empty()) options.daemon = fs::absolute(options.daemon);
    const Interrupt interrupt;  // first: a second signal ends the process when the folder is deleted
    const ScratchFolder scratch(kParametersSize);
    if (scratch.path().empty()) return fail("cannot create a temporary folder");
    Scenario scenario;
    std::string problem = isRecord(options.scenario)
                              ? readRecordedScenario(options.scenario, scratch.path() + "/record", scenario)
                              : readScenario(options.scenario, scenario);
    if (!problem.empty()) return fail(problem, kWrongUsage);
    const std::string baseline = baselineOf(options, scenario);
    Trace given;
    if (!baseline.empty())
        problem = isRecord(baseline) ? readRecordTrace(baseline, given) : readLogTrace(baseline, given);
    if (!problem.empty()) return fail(problem, kWrongUsage);
    const std::string folder = scratch.path() + "/run";
    Replay run;
    problem = replayIn(folder, options, scenario, scratch, interrupt, run);
    if (problem.empty() && options.keep) problem = keepTv(folder + "/tv");
    if (!problem.empty()) return fail(problem);
    if (baseline.empty()) return reportProblems(run, scenario.lines.size());
    if (isRecord(baseline)) return report(given, run.answers);
    skipStart(given, run.log);
    return report(given, run.log);
}

}  // namespace

void addReplay(Command app, int& status) {
    const auto options = std::make_shared<ReplayOptions>();
    const Command command =
        app.addCommand("replay", "Run a scenario and find its first difference from a log");
    command.setHelp(
        R"(Runs the scenario, or the calls of a record, on a temporary TV and compares the daemon's log, or
the answers to its clients, with a given log or record. Prints the first line that differs, both
sides of it, and the lines before it. Times, addresses, and numbers of processes and threads are no
difference, nor is the order of lines of different threads.

Without --against, the baseline is the record itself, or the file with the suffix .log beside the
scenario, which `tv from-report` writes. Without such a file, only violations are reported, such
as a crash.

`tv_stress sweep --help` describes the format of scenarios.)",
        {"0  the run is the same as the baseline, or has no violation",
         "1  it differs, has a violation, or could not be made",
         "2  the arguments, the scenario or the baseline are wrong"},
        {"tv replay fault/report.scenario",
         "tv replay fault/report.scenario --against fault/logcat.txt --keep", "tv replay calls.jsonl",
         "tv replay fault/report.scenario --daemon fixed/build/bin/hidlaudio"});
    command
        .argument("SCENARIO", options->scenario,
                  "Path of the scenario or record, or a name from the sweep's list")
        .required()
        .notEmpty();
    command.option("--against", "FILE", options->against, "Compare with this log or record").notEmpty();
    command.option("--daemon", "FILE", options->daemon, "Run this program as the daemon").existingFile();
    command.flag("--keep", options->keep, "Keep the TV and print its folder");
    command.onRun([options, &status] { status = replay(*options); });
}

}  // namespace hidlaudio::host
