// SPDX-License-Identifier: Apache-2.0
#include <stdio.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <thread>

#include "host/program/number_argument.h"
#include "host/program/standard_streams.h"
#include "host/program/terminal.h"
#include "host/stress/commands.h"
#include "host/stress/harness/scratch_folder.h"
#include "host/stress/harness/worker_pool.h"
#include "sweep_report.h"
#include "sweep_row.h"

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
};

struct Sweep {
    const Options& options;
    const Interrupt& interrupt;
    std::string folder;
    unsigned runs = 0;
};

RunSetup setUp(Sweep& sweep, const Scenario& scenario) {
    const std::string run = sweep.folder + "/" + std::to_string(sweep.runs++);
    return {sweep.folder + "/" + scenario.name, run, sweep.folder + "/parameters.bin", {}, {}};
}

/** Creates a TV of the scenario's model, which all runs copy. Returns an error message, or "". */
std::string makeModel(const Sweep& sweep, const Scenario& scenario) {
    TestTv model{sweep.folder + "/" + scenario.name, "/", 0, 0, 1};
    return makeTestTv(model, scenario.model);
}

std::vector<SweptFault> faultsOn(const RunResult& untouched) {
    std::vector<SweptFault> faults;
    for (const SweptCall& call : untouched.calls) {
        for (const std::string& outcome : outcomesFor(call)) faults.push_back({call, outcome});
    }
    return faults;
}

void clearAway(const std::string& folder) {
    std::error_code ignored;
    fs::remove_all(folder, ignored);
}

void showProgress(const Scenario& scenario, size_t done, size_t all) {
    if (isatty(STDERR_FILENO) == 0) return;
    fprintf(stderr, "\r%s %zu/%zu%s", scenario.name.c_str(), done, all, done == all ? "\r\033[K" : "");
}

SweepRow rowOf(const std::string& answer, bool whole, const SweptFault& fault) {
    const nlohmann::json json = nlohmann::json::parse(answer, nullptr, false);
    if (whole && json.is_object()) return json.get<SweepRow>();
    SweepRow row{fault.call.source,
                 fault.call.name,
                 fault.call.target,
                 fault.call.boot,
                 fault.call.nth,
                 fault.outcome,
                 false,
                 {},
                 {},
                 {},
                 {}};
    row.flags.emplace_back("the run process crashed");
    return row;
}

template <typename Answer>
std::string dump(const Answer& answer) {
    return nlohmann::json(answer).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

/** Runs the scenario with one fault. Called in a worker process. */
SweepRow sweepOne(const Scenario& scenario, const RunResult& untouched, const RunSetup& setup,
                  const SweptFault& fault) {
    SweepRow row;
    for (int i = 0; i < kTries && !row.injected; ++i) {
        clearAway(setup.folder);
        row = compareRuns(scenario, untouched, fault, runScenario(scenario, setup));
    }
    return row;
}

/** Runs the scenario with each fault. Returns false after an interrupt. */
bool sweepFaults(Sweep& sweep, const Scenario& scenario, const RunResult& untouched, SweepResult& result) {
    const std::vector<SweptFault> faults = faultsOn(untouched);
    std::vector<RunSetup> setups;
    for (const SweptFault& fault : faults) {
        RunSetup setup = setUp(sweep, scenario);
        setup.fault = fault;
        setup.usage = untouched.usage;
        setups.push_back(setup);
    }
    result.rows.resize(faults.size());
    size_t done = 0;
    PoolWork pool;
    pool.count = faults.size();
    pool.jobs = sweep.options.jobs;
    pool.work = [&](size_t i) { return dump(sweepOne(scenario, untouched, setups[i], faults[i])); };
    pool.done = [&](size_t i, const std::string& answer, bool whole) {
        result.rows[i] = rowOf(answer, whole, faults[i]);
        clearAway(setups[i].folder);
        showProgress(scenario, ++done, faults.size());
    };
    return runAll(pool, sweep.interrupt);
}

/** Executes the baseline run and the runs with faults. Called in a worker process. */
SweepResult sweepScenario(Sweep& sweep, const Scenario& scenario) {
    SweepResult result;
    result.scenario = scenario.name;
    if (const std::string problem = makeModel(sweep, scenario); !problem.empty()) {
        result.broken.push_back(scenario.path + ": tv init: " + problem);
        return result;
    }
    const RunSetup setup = setUp(sweep, scenario);
    const RunResult untouched = runScenario(scenario, setup);
    clearAway(setup.folder);
    result.calls = untouched.calls.size();
    result.broken = problemsUntouched(scenario, untouched);
    // Ignore the result: after an interrupt, the pool kills this process.
    if (result.broken.empty()) sweepFaults(sweep, scenario, untouched, result);
    return result;
}

SweepResult resultOf(const std::string& answer, bool whole, const Scenario& scenario) {
    const nlohmann::json json = nlohmann::json::parse(answer, nullptr, false);
    if (whole && json.is_object()) return json.get<SweepResult>();
    return {scenario.name, 0, {scenario.path + ": the sweep process crashed"}, {}};
}

/**
 * Sweeps in a worker process, so that the programs of the baseline run end even if this process is killed.
 * Returns false after an interrupt.
 */
bool sweepInWorker(Sweep& sweep, const Scenario& scenario, SweepResult& result) {
    PoolWork pool;
    pool.count = 1;
    pool.work = [&](size_t) { return dump(sweepScenario(sweep, scenario)); };
    pool.done = [&](size_t, const std::string& answer, bool whole) {
        result = resultOf(answer, whole, scenario);
    };
    return runAll(pool, sweep.interrupt);
}

int sweepAll(const Options& options, const std::vector<Scenario>& scenarios) {
    const Interrupt interrupt;
    const ScratchFolder folder(kParametersSize);
    if (folder.path().empty()) return fail("cannot create a temporary folder");
    Sweep sweep{options, interrupt, folder.path()};
    nlohmann::json all = nlohmann::json::array();
    size_t flagged = 0;
    for (const Scenario& scenario : scenarios) {
        SweepResult result;
        if (!sweepInWorker(sweep, scenario, result)) return fail("interrupted");
        flagged += flaggedIn(result);
        if (options.json) {
            all.push_back(toJson(result));
        } else {
            printTable(result, options.onlyFlagged);
            flushOutput();
        }
    }
    if (options.json)
        printf("%s\n", all.dump(2, ' ', false, nlohmann::json::error_handler_t::replace).c_str());
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

void addSweep(CLI::App& app, int& status) {
    const auto options = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand("sweep", "Repeat a scenario, injecting one fault per run");
    command->footer(
        "Runs the scenario on a temporary TV, first without a fault: the baseline run. Then repeats it for\n"
        "each call that the daemon made and for each way in which this call can fail. A system call, or a\n"
        "function of the middleware, libpower or the audio HAL, returns an error, transfers too few bytes,\n"
        "is delayed, or kills the process.\n"
        "\n"
        "Prints one line per fault: how the output of the commands, the daemon's log and the TV's files\n"
        "differ from the baseline run. Flags violations in lines that begin with !. Violations are: a\n"
        "crash, a hang, a leak of descriptors, threads or memory, a service that is not registered, a wake\n"
        "lock that is still held, and a file whose content the fault does not explain.\n"
        "\n"
        "SCENARIO is a name from --list, the path of a file, or `all`. A scenario file contains commands of\n"
        "`audioctl` and `tv`, one per line. Lines that begin with # are comments. The first command may be\n"
        "`tv init` with options. An `audioctl` command with & at the end of its line runs until the end of\n"
        "the scenario. If no `tv boot` comes before the first `audioctl`, the TV is booted first, and the\n"
        "calls of this boot are not swept. The commands can use the files in the folder of the scenario,\n"
        "and parameters.bin, a file of 1 MiB to upload. The clock of the TV runs " +
        std::to_string(kSweepClock) +
        " times faster.\n"
        "\n"
        "Exit status:\n"
        "  1  a run was flagged, the sweep was interrupted, or the output could not be written\n"
        "  2  the arguments or a scenario are wrong\n"
        "\n"
        "Examples:\n"
        "  tv_stress sweep --list\n"
        "  tv_stress sweep all --flagged\n"
        "  tv_stress sweep external-output --json");
    command->add_option("SCENARIO", options->scenarios, "Scenarios to run; required except with --list")
        ->type_name("");
    command
        ->add_option("-j,--jobs", options->jobs,
                     "Number of concurrent runs, 1 to 1000 (default: 4 per processor)")
        ->type_name("N")
        ->check([](const std::string& given) { return checkInteger(given, 1, 1000); });
    command->add_flag("--json", options->json, "Print the result as JSON");
    command->add_flag("--flagged", options->onlyFlagged, "Print only flagged runs (ignored with --json)");
    command->add_flag("--list", options->list, "List the scenarios and exit");
    command->callback([options, &status] { status = sweep(*options); });
}

}  // namespace hidlaudio::host
