// SPDX-License-Identifier: Apache-2.0
#include "host/scenario/shrink/shrink.h"

#include <stdio.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <memory>

#include "host/program/output_file.h"
#include "host/program/terminal.h"
#include "host/scenario/shrink/conditions.h"
#include "host/tv/commands.h"

namespace hidlaudio::host {
namespace {

namespace fs = std::filesystem;
using Outcome = ShrinkResult::Outcome;

struct ShrinkCommand {
    std::string scenario;
    std::string output = kStandardOutput;
    ShrinkOptions shrink;
};

void showProgress(size_t lines, unsigned runs) {
    fprintf(stderr, "\r\033[K%zu lines, %u runs", lines, runs);
}

std::string describeRate(const Rate& rate) {
    return std::to_string(rate.shown) + " of " + std::to_string(rate.runs) + " runs";
}

/** Prints the files that the scenario needs beside it if it is written to another folder. */
void noteFiles(const ShrinkCommand& options, const Scenario& scenario) {
    if (options.output == kStandardOutput) return;
    const fs::path folder = fs::path(scenario.path).parent_path();
    std::error_code ignored;
    if (fs::equivalent(fs::absolute(options.output).parent_path(), folder, ignored)) return;
    std::string names;
    for (const std::string& file : neededFiles(scenario)) names += " " + file;
    if (!names.empty()) note("the scenario needs these files of " + folder.string() + " beside it:" + names);
}

void printSummary(const ShrinkResult& result, double seconds) {
    fprintf(stderr, "%zu lines before, %zu after; %u runs, %u results remembered, %.0f s\n",
            result.linesBefore, result.linesAfter, result.runs, result.remembered, seconds);
    if (result.before.shown < result.before.runs)
        fprintf(stderr, "the given scenario shows the condition in %s\n",
                describeRate(result.before).c_str());
    if (result.after.shown < result.after.runs)
        fprintf(stderr, "the result shows the condition in %s\n", describeRate(result.after).c_str());
}

int finish(const ShrinkCommand& options, const ShrinkResult& result, double seconds) {
    if (result.outcome == Outcome::WrongInput) return fail(result.problem, kWrongUsage);
    if (result.outcome == Outcome::Failed) return fail(result.problem);
    const bool isInterrupted = result.outcome == Outcome::Interrupted;
    if (result.before.shown == 0)
        return fail(isInterrupted ? "interrupted"
                                  : "the scenario does not show the condition in any of " +
                                        std::to_string(result.before.runs) + " runs");
    const std::string text = scenarioText(result.scenario);
    const std::string problem = writeOutputFile(options.output, text);
    if (!problem.empty()) {
        fputs(text.c_str(), stdout);  // the search may have taken hours
        return fail(problem);
    }
    printSummary(result, seconds);
    noteFiles(options, result.scenario);
    return isInterrupted ? fail("interrupted; the scenario is the shortest so far") : kDone;
}

int shrinkScenario(ShrinkCommand options) {
    Scenario scenario;
    if (const std::string problem = readScenario(options.scenario, scenario); !problem.empty())
        return fail(problem, kWrongUsage);
    if (!options.shrink.daemon.empty()) options.shrink.daemon = fs::absolute(options.shrink.daemon);
    const bool isTerminal = isatty(STDERR_FILENO) != 0;
    if (isTerminal) options.shrink.progress = showProgress;
    const auto start = std::chrono::steady_clock::now();
    const Interrupt interrupt;
    const ShrinkResult result = shrink(scenario, options.shrink, interrupt);
    if (isTerminal) fputs("\r\033[K", stderr);
    return finish(options, result,
                  std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
}

void addOptions(Command command, ShrinkCommand& options) {
    command.argument("SCENARIO", options.scenario, "Path of the scenario, or a name from the sweep's list")
        .required()
        .notEmpty();
    command
        .option("--until", "CONDITION", options.shrink.until,
                "The condition, see below; if given several times,\nall of them must be shown")
        .required()
        .onceEach();
    command.option("--daemon", "FILE", options.shrink.daemon, "Run this program as the daemon")
        .existingFile();
    command
        .option("--output", "FILE", options.output, "Write the scenario to FILE (default: standard output)")
        .notEmpty();
    command
        .option("-j,--jobs", "N", options.shrink.jobs,
                "Number of concurrent runs, 1 to 1000 (default: 2 per processor)")
        .integer(1, 1000);
    command
        .option("--tries", "N", options.shrink.tries,
                "Maximum number of runs of each variant if not all runs\n"
                "show the condition, 1 to 1000 (default: 5). The given\n"
                "scenario and the result are run as often, but at least\n"
                "3 times (default: 3)")
        .integer(1, 1000);
}

}  // namespace

void addShrink(Command app, int& status) {
    const auto options = std::make_shared<ShrinkCommand>();
    const Command command =
        app.addCommand("shrink", "Find the shortest scenario that still shows a condition");
    command.setHelp(
        R"(Runs shorter and simpler variants of the scenario on temporary TVs, until no line can be removed
and no argument simplified without losing the condition. Prints the shortest scenario. Its files,
which lie beside the given scenario, are not changed. `tv_stress sweep --help` describes the format
of scenarios.

If only some runs of the given scenario show the condition, each variant is tried several times.
One run that shows the condition is enough.

CONDITION is one of:
)" + conditionKinds() +
            "\n"
            "REGEX is a POSIX extended regular expression, as of `grep -E`.",
        {"1  the condition is not shown, the command was interrupted (the shortest scenario so far is\n"
         "     printed), or the output could not be written",
         "2  the arguments, the scenario or the condition are wrong"},
        {"tv shrink report.scenario --until crash",
         "tv shrink report.scenario --until log:'epoll timeout' --output short.scenario",
         "tv shrink report.scenario --until different:fixed/build/bin/hidlaudio",
         "tv shrink report.scenario --until command:'grep -c timeout $HIDLAUDIO_LOG | grep -qx 2'"});
    addOptions(command, *options);
    command.onRun([options, &status] { status = shrinkScenario(*options); });
}

}  // namespace hidlaudio::host
