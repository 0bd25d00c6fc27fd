// SPDX-License-Identifier: Apache-2.0
#include <stdio.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <thread>

#include "host/program/standard_streams.h"
#include "host/program/terminal.h"
#include "host/scenario/harness/scratch_folder.h"
#include "host/scenario/harness/worker_pool.h"
#include "host/stress/commands.h"
#include "sweep_report.h"
#include "sweep_row.h"
#include "sweep_shrink.h"

namespace hidlaudio::host {
namespace {

namespace fs = std::filesystem;

/**
 * Maximum number of runs per fault: due to the scheduling of the daemon's threads, a run may not make the
 * call.
 */
constexpr int kTries = 3;

struct Options {
    std::vector<std::string> scenarios;
    unsigned jobs = 0;
    bool json = false;
    bool onlyFlagged = false;
    bool list = false;
    std::string shrink;  // folder for the shortest scenarios; "" for none
};

/** The sweep of one scenario, which runs in a process of its own. */
struct Sweep {
    const Options& options;
    const Interrupt& interrupt;
    const Scenario& scenario;
    std::string parameters;  // file to upload
    std::string folder;      // for the TVs; is deleted after the sweep
};

void removeFolder(const std::string& folder) {
    std::error_code ignored;
    fs::remove_all(folder, ignored);
}

void showProgress(const Scenario& scenario, size_t done, size_t all) {
    if (isatty(STDERR_FILENO) == 0) return;
    fprintf(stderr, "\r%s %zu/%zu%s", scenario.name.c_str(), done, all, done == all ? "\r\033[K" : "");
}

/** Runs the scenario with one fault. Called in a worker process. */
SweepRow runWithFault(const Sweep& sweep, const RunResult& baseline, const RunSetup& setup) {
    SweepRow row;
    if (!setup.injection) return row;
    for (int i = 0; i < kTries && !row.injected; ++i) {
        removeFolder(setup.folder);
        row = compareRuns(sweep.scenario, baseline, *setup.injection, runScenario(sweep.scenario, setup));
    }
    removeFolder(setup.folder);
    return row;
}

/** Runs the scenario with each fault of each call. Stops at an interrupt: then this process is killed. */
std::vector<SweepRow> runWithFaults(const Sweep& sweep, const RunResult& baseline, const RunSetup& setup) {
    std::vector<Injection> injections;
    for (const SweptCall& call : baseline.calls) {
        for (const std::string& fault : faultsOf(call)) injections.push_back({call, fault});
    }
    std::vector<SweepRow> rows(injections.size());
    size_t done = 0;
    PoolWork pool;
    pool.count = injections.size();
    pool.jobs = sweep.options.jobs;
    pool.run = [&](size_t i) {
        const std::string folder = sweep.folder + "/" + std::to_string(i);
        return runWithFault(sweep, baseline,
                            {setup.model, folder, setup.parameters, injections[i], baseline.usage});
    };
    pool.done = [&](size_t i, const nlohmann::json& result) {
        rows[i] = {injections[i], false, {}, {}, {}, {"the run process crashed"}};
        if (result.is_object()) rows[i] = result.get<SweepRow>();
        showProgress(sweep.scenario, ++done, rows.size());
    };
    runAll(pool, sweep.interrupt);
    return rows;
}

SweepResult sweepScenario(const Sweep& sweep) {
    const Scenario& scenario = sweep.scenario;
    SweepResult result{scenario.name, 0, {}, {}};
    const RunSetup setup{sweep.folder + "/model", sweep.folder + "/baseline", sweep.parameters, {}, {}};
    std::error_code ignored;
    fs::create_directory(sweep.folder, ignored);
    if (const std::string problem = makeTestTv({setup.model, "/"}, scenario.model); !problem.empty()) {
        result.broken.push_back(scenario.path + ": tv init: " + problem);
        return result;
    }
    const RunResult baseline = runScenario(scenario, setup);
    removeFolder(setup.folder);
    result.calls = baseline.calls.size();
    result.broken = baselineProblems(scenario, baseline);
    if (result.broken.empty()) result.rows = runWithFaults(sweep, baseline, setup);
    return result;
}

/**
 * Sweeps one scenario after the other, each in a worker process, so that the programs of the baseline run end
 * even if this process is killed.
 */
int sweepAll(const Options& options, const std::vector<Scenario>& scenarios) {
    const Interrupt interrupt;
    const ScratchFolder scratch(kParametersSize);
    if (scratch.path().empty()) return fail("cannot create a temporary folder");
    const std::string folder = scratch.path() + "/sweep";
    nlohmann::json all = nlohmann::json::array();
    size_t flagged = 0;
    std::vector<Finding> findings;
    PoolWork pool;
    pool.count = scenarios.size();
    pool.run = [&](size_t i) {
        return sweepScenario({options, interrupt, scenarios[i], scratch.parameters(), folder});
    };
    pool.done = [&](size_t i, const nlohmann::json& json) {
        removeFolder(folder);
        SweepResult result{scenarios[i].name, 0, {scenarios[i].path + ": the sweep process crashed"}, {}};
        if (json.is_object()) result = json.get<SweepResult>();
        flagged += flaggedIn(result);
        for (const SweepRow& row : result.rows)
            if (!row.flags.empty()) findings.push_back({scenarios[i], row});
        if (options.json) {
            all.push_back(toJson(result));
        } else {
            printTable(result, options.onlyFlagged);
            flushOutput();
        }
    };
    if (!runAll(pool, interrupt)) return fail("interrupted");
    if (options.json) printf("%s\n", jsonText(all, 2).c_str());
    const std::string problem =
        options.shrink.empty() ? "" : shrinkFindings(findings, options.shrink, options.jobs, interrupt);
    if (!problem.empty()) return fail(problem);
    return flagged == 0 ? kDone : fail(std::to_string(flagged) + " runs were flagged");
}

int list() {
    for (const std::string& name : scenarioNames()) {
        Scenario scenario;
        const std::string problem = readScenario(name, scenario);
        printf("%s  %s\n", name.c_str(), problem.empty() ? scenario.about.c_str() : problem.c_str());
    }
    return kDone;
}

int sweep(Options options) {
    if (options.list) return list();
    if (options.scenarios.empty())
        return fail("SCENARIO is missing; `tv_stress sweep --list` prints the scenarios", kWrongUsage);
    if (options.jobs == 0) options.jobs = 4 * std::max(1U, std::thread::hardware_concurrency());
    if (options.scenarios == std::vector<std::string>{"all"}) options.scenarios = scenarioNames();
    std::vector<Scenario> scenarios;
    for (const std::string& name : options.scenarios) {
        if (const std::string problem = readScenario(name, scenarios.emplace_back()); !problem.empty())
            return fail(problem, kWrongUsage);
    }
    return sweepAll(options, scenarios);
}

}  // namespace

void addSweep(Command app, int& status) {
    const auto options = std::make_shared<Options>();
    const Command command = app.addCommand("sweep", "Repeat a scenario, injecting one fault per run");
    command.setHelp(
        R"(Runs the scenario on a temporary TV, first without a fault: the baseline run. Then repeats it for
each call that the daemon made and for each way in which this call can fail. A system call, or a
function of the middleware, libpower or the audio HAL, returns an error, transfers too few bytes,
is delayed, or kills the process.

Prints one line per fault: how the output of the commands, the daemon's log and the TV's files
differ from the baseline run. Flags violations in lines that begin with !. Violations are: a
crash, a hang, a leak of descriptors, threads or memory, a service that is not registered, a wake
lock that is still held, and a file whose content the fault does not explain.

SCENARIO is a name from --list, the path of a file, or `all`. A scenario has one command per line:

  tv init [OPTIONS]          only as the first command
  tv boot | tv shutdown      start the programs that do not run; stop them
  tv config | eeprom | fault | bectrl ...
  file PATH hex DIGITS       write a file of the TV: these bytes,
  file PATH copy NAME        or those of a file in the scenario's folder
  audioctl ... [&]           & runs the command until the end of the scenario
  client NAME INTERFACE.METHOD [ARGUMENTS] [> VARIABLE] [&]
                             a HIDL call. The process of client NAME lives until the end. With &,
                             only the client's next call waits for the answer. ARGUMENTS is a JSON
                             object as in a record; $VARIABLE stands for an earlier result
  kill hidlaudio | audio_hal | CLIENT
  await TEXT                 wait for a line of the daemon's log, after that of the last await

Lines that begin with # are comments. If no `tv boot` comes before the first command of a client,
the TV is booted first, and the calls of this boot are not swept. The commands can use the files in
the folder of the scenario, and parameters.bin, a file of 1 MiB. The clock of the TV runs )" +
            std::to_string(kSweepClock) + " times faster.",
        {"1  a run was flagged, the sweep was interrupted, or the output could not be written",
         "2  the arguments or a scenario are wrong"},
        {"tv_stress sweep --list", "tv_stress sweep all --flagged --shrink found",
         "tv_stress sweep external-output --json"});
    command.argument("SCENARIO", options->scenarios, "Scenarios to run; required except with --list");
    command
        .option("-j,--jobs", "N", options->jobs,
                "Number of concurrent runs, 1 to 1000 (default: 4 per processor)")
        .integer(1, 1000);
    command.flag("--json", options->json, "Print the result as JSON");
    command.flag("--flagged", options->onlyFlagged, "Print only flagged runs (ignored with --json)");
    command
        .option("--shrink", "DIR", options->shrink,
                "For each flagged run, write the shortest scenario with the\n"
                "same first violation to a file in the folder DIR. See\n"
                "`tv shrink`. A violation that only a comparison with the\n"
                "baseline run shows, such as a leak, is skipped")
        .notEmpty();
    command.flag("--list", options->list, "List the scenarios and exit");
    command.onRun([options, &status] { status = sweep(*options); });
}

}  // namespace hidlaudio::host
