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

/** Threads of the daemon may overtake each other, so that a call does not come in one run. */
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

/** Makes a new TV of the scenario's model for all its runs. Returns an empty string, or why not. */
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
    row.flags.emplace_back("the run itself crashed");
    return row;
}

template <typename Answer>
std::string dump(const Answer& answer) {
    return nlohmann::json(answer).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

/** In a worker's process. */
SweepRow sweepOne(const Scenario& scenario, const RunResult& untouched, const RunSetup& setup,
                  const SweptFault& fault) {
    SweepRow row;
    for (int i = 0; i < kTries && !row.injected; ++i) {
        clearAway(setup.folder);
        row = compareRuns(scenario, untouched, fault, runScenario(scenario, setup));
    }
    return row;
}

/** Runs the scenario with each fault. False where the user interrupted it. */
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

/** In a worker's process. */
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
    // The pool ends this process if the user interrupts the sweep.
    if (result.broken.empty()) sweepFaults(sweep, scenario, untouched, result);
    return result;
}

SweepResult resultOf(const std::string& answer, bool whole, const Scenario& scenario) {
    const nlohmann::json json = nlohmann::json::parse(answer, nullptr, false);
    if (whole && json.is_object()) return json.get<SweepResult>();
    return {scenario.name, 0, {scenario.path + ": the sweep itself crashed"}, {}};
}

/**
 * Sweeps in a worker: the programs of the untouched run end with it, even if this process is
 * killed. False if the user interrupted it.
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
    if (folder.path().empty()) return fail("no temporary folder can be made");
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
    return flagged == 0 ? kDone : fail(std::to_string(flagged) + " runs show what must not be");
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
        return fail("which scenario? `tv_stress sweep --list` tells them", kWrongUsage);
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
    CLI::App* command =
        app.add_subcommand("sweep", "Let each call of the daemon fail once, and see what comes of it");
    command->footer(
        "Runs a scenario on a TV of its own, once untouched and then again with each call that the daemon\n"
        "made failing in each way that such a call can fail: system calls and the middleware's, libpower's\n"
        "and the audio HAL's functions return an error, come back short, come too late, or end the process.\n"
        "A line a fault tells what the client, the log and the TV's files showed, where that differs from\n"
        "the untouched run. Flagged with ! are a crash, a hang, descriptors, threads or memory that are not\n"
        "given back, services that are not there, a wake lock that is kept, and files that no failure\n"
        "tolerated; the exit status is 1 then.\n"
        "\n"
        "SCENARIO is one of those of --list, all of them (all), or the path of a file: commands of "
        "`audioctl`\n"
        "and `tv`, a line each, comments with #. `tv init` with its options comes first; & at the end of a\n"
        "line lets the command run until the end. Where no `tv boot` comes before the first `audioctl`, the "
        "TV\n"
        "is started before, and the calls of that are left out. The commands find the files that lie beside "
        "the scenario, and a file of 1 "
        "MiB\n"
        "to upload, parameters.bin; the TV's time passes " +
        std::to_string(kSweepClock) +
        " times faster.\n"
        "\n"
        "Examples:\n"
        "  tv_stress sweep all --flagged\n"
        "  tv_stress sweep external-output --json");
    command->add_option("SCENARIO", options->scenarios, "What is run")->type_name("");
    command->add_option("-j,--jobs", options->jobs, "How many runs at a time; otherwise four a processor")
        ->type_name("N")
        ->check([](const std::string& given) { return checkInteger(given, 1, 1000); });
    command->add_flag("--json", options->json, "Print all that was found as JSON");
    command->add_flag("--flagged", options->onlyFlagged, "Print only what must not be");
    command->add_flag("--list", options->list, "List the scenarios");
    command->callback([options, &status] { status = sweep(*options); });
}

}  // namespace hidlaudio::host
