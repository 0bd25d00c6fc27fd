// SPDX-License-Identifier: Apache-2.0
#include "scenario_run.h"

#include <signal.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <thread>

#include "client/exit_status.h"
#include "host/tv_control/processes/programs.h"
#include "host/tv_control/state/registry.h"
#include "host/tv_files/tv_root.h"
#include "run_log.h"
#include "scenario_clients.h"

namespace hidlaudio::host {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using std::chrono::steady_clock;

/** Time-out of a command. No command takes nearly as long, even on a busy machine. */
constexpr auto kAnswerTimeout = 30s;
constexpr auto kIdleTimeout = 3s;
/** An `await` ends if the log has not grown for this time. That is longer than the daemon's time-outs of 20
 * s. */
constexpr auto kSilence = 1500ms;
static_assert(kSilence * kSweepClock > 30s);

struct Run;
void storeCall(Run& run, size_t line, const LineOutcome& outcome, bool timedOut);

struct Background {
    size_t line;
    pid_t pid;
};

struct Run {
    Run(const Scenario& given, const RunSetup& wanted)
        : scenario(given),
          setup(wanted),
          tv{wanted.folder + "/tv", wanted.folder + "/files", kSweepClock},
          clients(tv, wanted.folder, [this](size_t line, const LineOutcome& outcome, bool timedOut) {
              storeCall(*this, line, outcome, timedOut);
          }) {
        tv.daemonFile = wanted.daemon;
        result.lines.resize(given.lines.size());
    }

    const Scenario& scenario;
    const RunSetup& setup;
    TestTv tv;
    ScenarioClients clients;
    RunResult result;
    unsigned boots = 0;  // starts of the daemon so far
    std::vector<Background> background;
    size_t awaitedEnd = 0;  // end of the log line of the last `await`
    // Numbers of the calls that the daemon and the HAL made during an implicit boot. They are not swept.
    std::map<std::string, size_t> implicitCalls;
};

/** The HAL has its own call record, because its system calls are not swept. */
std::string recordOf(const Run& run, const std::string& program, unsigned boot) {
    return run.setup.folder + "/calls." + program + "." + std::to_string(boot);
}

std::vector<RecordedCall> callsOf(const Run& run, const std::string& program, unsigned boot) {
    std::vector<RecordedCall> calls = readCallRecord(recordOf(run, program, boot));
    const bool isHal = program == "hal";
    const auto isOther = [isHal](const RecordedCall& call) { return (call.source == kHalCalls) != isHal; };
    calls.erase(std::remove_if(calls.begin(), calls.end(), isOther), calls.end());
    return calls;
}

void addProblem(Run& run, const std::string& problem) {
    run.result.problems.push_back(problem);
}

/** Returns whether the fault is to kill the daemon that was started last. */
bool lastStartIsKilled(const Run& run) {
    const auto& injection = run.setup.injection;
    return injection && killsDaemon(*injection) && run.boots == injection->boot + 1;
}

std::string startDaemonOnce(Run& run) {
    const auto& injection = run.setup.injection;
    const bool isInjected = injection && injection->boot == run.boots;
    const std::string record = recordOf(run, "daemon", run.boots++);
    return startDaemon(run.tv, {std::string(kCallsVariable) + "=" + record,
                                "HIDLAUDIO_FAULT=" + (isInjected ? prepareFault(run.tv, *injection) : "")});
}

/** Starts the daemon, and starts it again if the injected fault kills it. */
void startDaemonOf(Run& run) {
    std::string problem = startDaemonOnce(run);
    if (!problem.empty() && run.tv.daemon == 0 && lastStartIsKilled(run)) problem = startDaemonOnce(run);
    if (!problem.empty()) addProblem(run, "start: " + problem);
}

void boot(Run& run) {
    if (run.tv.hal == 0) {
        const std::string record = recordOf(run, "hal", run.boots);
        const std::string problem = startHal(run.tv, {std::string(kCallsVariable) + "=" + record});
        if (!problem.empty()) addProblem(run, "start: " + problem);
    }
    if (run.tv.daemon == 0) startDaemonOf(run);
}

/** Restarts a daemon that the injected fault has killed. Reports any other end of the daemon. */
void checkDaemon(Run& run, std::chrono::milliseconds patience = {}) {
    const auto status = daemonEnding(run.tv, patience);
    if (!status) return;
    if (run.setup.injection && killsDaemon(*run.setup.injection) && *status == -SIGKILL)
        return startDaemonOf(run);
    const std::string log = contentOf(logOf("hidlaudio"));
    const bool unchecked = log.find("HIDL return status not checked") != std::string::npos ||
                           log.find("retrieve value from hidl service") != std::string::npos;
    addProblem(run, "crash: the daemon " + describe(*status) +
                        (unchecked ? ", because the status of a Return was not checked" : ""));
}

std::string outputFile(const Run& run, size_t line, const char* stream) {
    return run.setup.folder + "/line." + std::to_string(line) + "." + stream;
}

bool hasOutput(const Run& run, size_t line) {
    return !contentOf(outputFile(run, line, "out")).empty() ||
           !contentOf(outputFile(run, line, "err")).empty();
}

void storeOutcome(Run& run, size_t line, std::optional<ChildStatus> status) {
    const auto outputOf = [&](const char* stream) {
        return withoutVariations(contentOf(outputFile(run, line, stream)), run.setup.folder);
    };
    run.result.lines[line] = {status.value_or(-SIGKILL), outputOf("out"), outputOf("err")};
    if (!status || *status == client::kTimedOut)
        addProblem(run, "hang: no answer to `" + run.scenario.lines[line].text + "`");
}

void runCommand(Run& run, size_t index) {
    const ScenarioLine& line = run.scenario.lines[index];
    pid_t pid = 0;
    const std::string problem =
        startCommand(run.tv, line.words, outputFile(run, index, "out"), outputFile(run, index, "err"), pid);
    if (!problem.empty()) return addProblem(run, problem);
    const auto deadline = steady_clock::now() + kAnswerTimeout;
    auto status = statusWithin(pid, line.background ? 0ms : kAnswerTimeout);
    while (line.background && !status && !hasOutput(run, index) && steady_clock::now() < deadline)
        status = statusWithin(pid, 1ms);
    if (line.background && !status) {
        run.background.push_back({index, pid});
        return;
    }
    if (!status) endChild(pid, SIGKILL, 1s);
    storeOutcome(run, index, status);
}

void storeCall(Run& run, size_t line, const LineOutcome& outcome, bool timedOut) {
    run.result.lines[line] = outcome;
    if (timedOut) addProblem(run, "hang: no answer to `" + run.scenario.lines[line].text + "`");
}

void callByClient(Run& run, size_t index) {
    const std::string problem = run.clients.call(index, run.scenario.lines[index]);
    if (!problem.empty()) addProblem(run, "line: `" + run.scenario.lines[index].text + "`: " + problem);
}

void shutDown(Run& run, size_t) {
    checkDaemon(run);
    stopTv(run.tv);
}

/** Kills a program of the TV or a client. */
void killProcess(Run& run, size_t index) {
    const std::string& name = run.scenario.lines[index].words[1];
    pid_t* const pid = name == "hidlaudio" ? &run.tv.daemon : name == "audio_hal" ? &run.tv.hal : nullptr;
    if (pid == nullptr) return run.clients.kill(name);
    if (pid == &run.tv.daemon) checkDaemon(run);
    if (*pid != 0) endChild(*pid, SIGKILL, 1s);
    *pid = 0;
}

/** Returns the end of the first line that contains the text, from `start` on, or npos. */
size_t endOfLineWith(const std::string& text, const std::string& log, size_t start) {
    const size_t found = log.find(text, start);
    return found == std::string::npos ? found : log.find('\n', found);
}

/** Waits for a line of the daemon's log. A line that does not come is not a violation. */
void awaitLogLine(Run& run, size_t index) {
    size_t size = 0;
    auto deadline = steady_clock::now();
    for (bool isLast = false; !isLast; checkDaemon(run)) {
        const std::string log = contentOf(logOf("hidlaudio"));
        const size_t end = endOfLineWith(run.scenario.lines[index].content, log, run.awaitedEnd);
        if (end != std::string::npos) {
            run.awaitedEnd = end;
            return;
        }
        if (log.size() != size) deadline = steady_clock::now() + kSilence;
        size = log.size();
        isLast = run.tv.daemon == 0 || steady_clock::now() > deadline;
        if (!isLast) std::this_thread::sleep_for(2ms);
    }
    run.result.lines[index] = {client::kTimedOut, "", "the log has no such line\n"};
}

void writeTvFile(Run& run, size_t index) {
    const ScenarioLine& line = run.scenario.lines[index];
    const fs::path path = run.tv.root + line.words[1];
    if (line.words[2] == "copy") {
        fs::copy_file(run.tv.folder + "/" + line.words[3], path, fs::copy_options::overwrite_existing);
        return;
    }
    std::ofstream file(path, std::ios::binary);
    if (!(file << line.content).flush()) addProblem(run, "line: `" + line.text + "`: cannot write the file");
}

void runLine(Run& run, size_t index) {
    using Function = void (*)(Run&, size_t);
    // In the order of ScenarioLine::Kind.
    constexpr Function kFunctions[] = {runCommand,  [](Run& started, size_t) { boot(started); },
                                       shutDown,    callByClient,
                                       killProcess, awaitLogLine,
                                       writeTvFile};
    const ScenarioLine::Kind kind = run.scenario.lines[index].kind;
    kFunctions[static_cast<size_t>(kind)](run, index);
    if (kind != ScenarioLine::Kind::Command && kind != ScenarioLine::Kind::Call) return;
    // After a crash, clients notice that the service is gone before the process has ended.
    checkDaemon(run, run.result.lines[index].status == client::kNoService ? 500ms : 0ms);
}

void endBackground(Run& run) {
    run.clients.finish();
    for (const Background& each : run.background)
        storeOutcome(run, each.line, endChild(each.pid, SIGINT, kAnswerTimeout));
}

/** Waits until no wake lock is held and the daemon has released its resources, and stores their usage. */
void checkIdleDaemon(Run& run) {
    if (run.tv.daemon == 0) return;
    const RunSetup& setup = run.setup;
    const auto isIdle = [&](const Usage& now, const Usage& before) {
        const Usage& limit = setup.injection ? setup.usage : before;
        return now.descriptors <= limit.descriptors && now.threads <= limit.threads &&
               contentOf(run.tv.root + kWakeLockFile).empty();
    };
    run.result.usage = usageWhenIdle(run.tv, kIdleTimeout, setup.injection ? 2ms : 50ms, isIdle);
    if (!servicesRegistered("hidlaudio", run.tv.daemon)) addProblem(run, "services: not all are registered");
}

/** Adds all calls to the result except those of an implicit boot, which only count. */
void storeCalls(Run& run) {
    for (unsigned start = 0; start < run.boots; ++start) {
        for (const std::string program : {"daemon", "hal"}) {
            size_t implicit = start == 0 ? run.implicitCalls[program] : 0;
            std::map<std::string, unsigned> counts;
            for (const RecordedCall& call : callsOf(run, program, start)) {
                const unsigned nth = ++counts[call.source + call.call];
                if (implicit == 0) run.result.calls.push_back({call, start, nth});
                if (implicit > 0) --implicit;
            }
        }
    }
    const auto isInjected = [&](const SweptCall& made) {
        const Injection& wanted = *run.setup.injection;
        return made.boot == wanted.boot && made.nth == wanted.nth && made.source == wanted.source &&
               made.call == wanted.call;
    };
    run.result.injected =
        run.setup.injection && std::any_of(run.result.calls.begin(), run.result.calls.end(), isInjected);
}

void runLines(Run& run) {
    linkInputFiles(run.tv, run.setup.parameters, fs::path(run.scenario.path).parent_path());
    fs::copy(run.setup.model, run.tv.root, fs::copy_options::recursive);
    setTvRoot(run.tv.root);
    if (!run.scenario.boots) {
        boot(run);
        for (const std::string program : {"daemon", "hal"})
            run.implicitCalls[program] = callsOf(run, program, 0).size();
    }
    for (size_t i = 0; i < run.scenario.lines.size(); ++i) runLine(run, i);
    endBackground(run);
    checkDaemon(run);
    checkIdleDaemon(run);
    run.result.callbacks = run.clients.callbacks();
    run.result.files = filesOf(run.tv);
    stopTv(run.tv);
    storeCalls(run);
    run.result.log = warningsIn(logOf("hidlaudio"), run.setup.folder);
}

}  // namespace

bool isCrash(const std::string& problem) {
    constexpr const char* kStarts[] = {"crash:", "start: hidlaudio was ended", "start: hidlaudio ended"};
    return std::any_of(std::begin(kStarts), std::end(kStarts),
                       [&](const char* start) { return problem.rfind(start, 0) == 0; });
}

RunResult runScenario(const Scenario& scenario, const RunSetup& setup) {
    Run run(scenario, setup);
    try {
        runLines(run);
    } catch (const fs::filesystem_error& error) {
        addProblem(run, error.what());
        stopTv(run.tv);
    }
    return run.result;
}

}  // namespace hidlaudio::host
