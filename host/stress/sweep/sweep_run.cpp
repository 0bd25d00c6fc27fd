// SPDX-License-Identifier: Apache-2.0
#include "sweep_run.h"

#include <signal.h>
#include <string.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>

#include "client/exit_status.h"
#include "host/tv/processes/programs.h"
#include "host/tv/state/registry.h"
#include "host/tv_files/tv_root.h"
#include "sweep_log.h"

namespace hidlaudio::host {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using std::chrono::steady_clock;

/** Time-out of a command. No command takes nearly as long, even on a busy machine. */
constexpr auto kAnswerLimit = 30s;
constexpr auto kRestLimit = 3s;
constexpr char kWakeLocks[] = "/power/wake_lock";

struct Background {
    size_t line;
    pid_t pid;
};

/** Numbers of calls during an implicit boot. These calls are not swept. */
struct BootCalls {
    size_t daemon = 0;
    size_t hal = 0;
};

struct Run {
    const Scenario& scenario;
    const RunSetup& setup;
    TestTv tv;
    RunResult result;
    unsigned boots = 0;  // starts of the daemon so far
    BootCalls implicitBoot;
    std::vector<Background> background;
};

/** The HAL has its own call record, because its system calls are not swept. */
std::string recordOf(const Run& run, const char* program, unsigned boot) {
    return run.setup.folder + "/calls." + program + "." + std::to_string(boot);
}

std::vector<RecordedCall> callsOf(const Run& run, const char* program, unsigned boot) {
    std::vector<RecordedCall> calls = readCallRecord(recordOf(run, program, boot));
    const bool isHal = strcmp(program, "hal") == 0;
    const auto isOther = [isHal](const RecordedCall& call) { return (call.source == kHalCalls) != isHal; };
    calls.erase(std::remove_if(calls.begin(), calls.end(), isOther), calls.end());
    return calls;
}

/** Returns the fault to inject at the next start of the daemon, or `nullptr`. */
const SweptFault* faultNow(const Run& run) {
    const auto& fault = run.setup.fault;
    return fault && fault->call.boot == run.boots ? &*fault : nullptr;
}

void prepareFolders(Run& run) {
    fs::create_directories(run.tv.folder);
    fs::copy(run.setup.model, run.tv.root, fs::copy_options::recursive);
    fs::create_symlink(run.setup.parameters, run.tv.folder + "/parameters.bin");
    for (const auto& entry : fs::directory_iterator(fs::path(run.scenario.path).parent_path())) {
        if (entry.path().extension() != ".scenario")
            fs::create_symlink(entry.path(), fs::path(run.tv.folder) / entry.path().filename());
    }
}

/** Returns whether the injected fault explains the end of the daemon. */
bool mayEnd(const Run& run, ChildStatus status) {
    if (run.setup.fault && isCrash(*run.setup.fault)) return status == -SIGKILL;
    return false;
}

void noteEnding(Run& run, const std::string& how) {
    const std::string log = contentOf(logOf("hidlaudio"));
    const bool unexamined = log.find("HIDL return status not checked") != std::string::npos ||
                            log.find("retrieve value from hidl service") != std::string::npos;
    run.result.problems.push_back("crash: the daemon " + how +
                                  (unexamined ? ", because the status of a Return was not checked" : ""));
}

/** Returns whether the injected fault has just killed the daemon during its start. */
bool hasCrashedAsMeant(const Run& run) {
    return run.tv.daemon == 0 && run.setup.fault && isCrash(*run.setup.fault) &&
           run.boots == run.setup.fault->call.boot + 1;
}

std::string startOnce(Run& run) {
    const std::string record = recordOf(run, "daemon", run.boots);
    std::vector<std::string> variables{std::string(kCallsVariable) + "=" + record};
    const SweptFault* const fault = faultNow(run);
    variables.push_back("HIDLAUDIO_FAULT=" + (fault != nullptr ? faultVariable(*fault) : ""));
    if (fault != nullptr) writeFaultFile(run.tv, *fault);
    ++run.boots;
    return startDaemon(run.tv, variables);
}

/** Starts the daemon, and starts it again if the injected fault kills it. */
void startDaemonOf(Run& run) {
    std::string problem = startOnce(run);
    if (!problem.empty() && hasCrashedAsMeant(run)) problem = startOnce(run);
    if (!problem.empty()) run.result.problems.push_back("start: " + problem);
}

void boot(Run& run) {
    if (run.tv.hal == 0) {
        const std::string record = recordOf(run, "hal", run.boots);
        const std::string problem = startHal(run.tv, {std::string(kCallsVariable) + "=" + record});
        if (!problem.empty()) run.result.problems.push_back("start: " + problem);
    }
    startDaemonOf(run);
}

void shutDown(Run& run) {
    stopDaemon(run.tv);
    stopHal(run.tv);
}

/** Restarts a daemon that the injected fault has killed. Reports any other end of the daemon. */
void lookAfterDaemon(Run& run, std::chrono::milliseconds patience = {}) {
    const auto status = daemonEnding(run.tv, patience);
    if (!status) return;
    if (mayEnd(run, *status)) {
        startDaemonOf(run);
    } else {
        noteEnding(run, describe(*status));
    }
}

std::string outputFile(const Run& run, size_t line, const char* stream) {
    return run.setup.folder + "/line." + std::to_string(line) + "." + stream;
}

bool hasSpoken(const Run& run, size_t line) {
    std::error_code error;
    return fs::file_size(outputFile(run, line, "out"), error) +
               fs::file_size(outputFile(run, line, "err"), error) >
           0;
}

void noteOutcome(Run& run, size_t line, std::optional<ChildStatus> status) {
    LineOutcome& outcome = run.result.lines[line];
    outcome.status = status.value_or(-SIGKILL);
    outcome.output = withoutChance(contentOf(outputFile(run, line, "out")), run.setup.folder);
    outcome.errors = withoutChance(contentOf(outputFile(run, line, "err")), run.setup.folder);
    if (!status || *status == client::kTimedOut)
        run.result.problems.push_back("hang: no answer to `" + run.scenario.lines[line].text + "`");
}

void runCommand(Run& run, size_t index) {
    const ScenarioLine& line = run.scenario.lines[index];
    ChildSetup setup{
        line.words, {}, outputFile(run, index, "out"), outputFile(run, index, "err"), run.tv.folder};
    setup.arguments[0] = programFile(line.words[0]);
    pid_t pid = 0;
    if (const int error = startChild(setup, pid); error != 0) {
        run.result.problems.push_back(setup.arguments[0] + ": " + strerror(error));
        return;
    }
    const auto deadline = steady_clock::now() + kAnswerLimit;
    auto status = statusWithin(pid, line.background ? 0ms : kAnswerLimit);
    while (line.background && !status && !hasSpoken(run, index) && steady_clock::now() < deadline)
        status = statusWithin(pid, 1ms);
    if (line.background && !status) {
        run.background.push_back({index, pid});
        return;
    }
    if (!status) endChild(pid, SIGKILL, 1s);
    noteOutcome(run, index, status);
}

void runLine(Run& run, size_t index) {
    const std::vector<std::string>& words = run.scenario.lines[index].words;
    if (words[0] == "tv" && words[1] == "boot") {
        boot(run);
    } else if (words[0] == "tv" && words[1] == "shutdown") {
        lookAfterDaemon(run);
        shutDown(run);
    } else {
        runCommand(run, index);
        // After a crash, clients notice that the service is gone before the process has ended.
        lookAfterDaemon(run, run.result.lines[index].status == client::kNoService ? 500ms : 0ms);
    }
}

void endBackground(Run& run) {
    for (const Background& each : run.background)
        noteOutcome(run, each.line, endChild(each.pid, SIGINT, kAnswerLimit));
}

bool isDownTo(const Usage& usage, const Usage& limit) {
    return usage.descriptors <= limit.descriptors && usage.threads <= limit.threads;
}

/**
 * Waits up to 3 s until no wake lock is held and the daemon has released its resources. Returns its usage.
 */
Usage usageAtRest(const Run& run) {
    const auto deadline = steady_clock::now() + kRestLimit;
    Usage before;
    for (;;) {
        const Usage now = usageOf(run.tv.daemon);
        const Usage limit = run.setup.fault ? run.setup.usage : before;
        const bool isIdle = contentOf(run.tv.root + kWakeLocks).empty();
        if ((isIdle && isDownTo(now, limit)) || steady_clock::now() > deadline) return now;
        before = now;
        std::this_thread::sleep_for(run.setup.fault ? 2ms : 50ms);
    }
}

void noteRest(Run& run) {
    if (run.tv.daemon == 0) return;
    run.result.usage = usageAtRest(run);
    if (!servicesRegistered("hidlaudio", run.tv.daemon))
        run.result.problems.emplace_back("services: not all are registered");
}

/**
 * Adds the calls of a program since one start to the result, except the first `skipped`, which only count.
 */
void noteCalls(Run& run, const char* program, unsigned bootNumber, size_t skipped) {
    const std::vector<RecordedCall> calls = callsOf(run, program, bootNumber);
    std::map<std::string, unsigned> counts;
    for (size_t i = 0; i < calls.size(); ++i) {
        const unsigned nth = ++counts[calls[i].source + calls[i].name];
        if (i >= skipped) run.result.calls.push_back({calls[i], bootNumber, nth});
    }
}

void noteAllCalls(Run& run) {
    for (unsigned i = 0; i < run.boots; ++i) {
        noteCalls(run, "daemon", i, i == 0 ? run.implicitBoot.daemon : 0);
        noteCalls(run, "hal", i, i == 0 ? run.implicitBoot.hal : 0);
    }
    if (!run.setup.fault) return;
    const SweptCall& wanted = run.setup.fault->call;
    run.result.injected =
        std::any_of(run.result.calls.begin(), run.result.calls.end(), [&](const SweptCall& made) {
            return made.boot == wanted.boot && made.nth == wanted.nth && made.source == wanted.source &&
                   made.name == wanted.name;
        });
}

void runAll(Run& run) {
    prepareFolders(run);
    setTvRoot(run.tv.root);
    if (!run.scenario.boots) {
        boot(run);
        run.implicitBoot = {callsOf(run, "daemon", 0).size(), callsOf(run, "hal", 0).size()};
    }
    for (size_t i = 0; i < run.scenario.lines.size(); ++i) runLine(run, i);
    endBackground(run);
    lookAfterDaemon(run);
    noteRest(run);
    run.result.files = filesOf(run.tv);
    shutDown(run);
    noteAllCalls(run);
    run.result.log = troublesIn(logOf("hidlaudio"), run.setup.folder);
}

}  // namespace

RunResult runScenario(const Scenario& scenario, const RunSetup& setup) {
    Run run{scenario, setup, {setup.folder + "/tv", setup.folder + "/files", 0, 0, kSweepClock}, {}, 0,
            {},       {}};
    run.result.lines.resize(scenario.lines.size());
    try {
        runAll(run);
    } catch (const fs::filesystem_error& error) {
        run.result.problems.emplace_back(error.what());
        shutDown(run);
    }
    return run.result;
}

}  // namespace hidlaudio::host
