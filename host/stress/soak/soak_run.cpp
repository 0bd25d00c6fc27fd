// SPDX-License-Identifier: Apache-2.0
#include "soak_run.h"

#include <signal.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <optional>
#include <thread>

#include "client/exit_status.h"
#include "host/scenario/scenario.h"
#include "host/tv_control/state/registry.h"
#include "host/tv_control/state/tv_state.h"
#include "host/tv_files/back_end_files.h"
#include "host/tv_files/value_file.h"
#include "soak_plan.h"

namespace hidlaudio::host {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using std::chrono::steady_clock;

/** The first part is the warm-up: growth is measured from its end. */
constexpr int kParts = 5;
constexpr auto kAnswerTimeout = 60s;
constexpr auto kIdleTimeout = 5s;
/** Tolerated growth in KiB, for pools and a fragmented heap. */
constexpr long kMemoryGrowth = 1024;
/**
 * The link to the audio HAL keeps a socket for each of the two transfer threads that have called it, and
 * a descriptor for the lane of each of its three busy channels.
 */
constexpr long kDescriptorSlack = 2 + 3;
/** Makes all threads share one heap, so that retained memory does not depend on the allocating thread. */
constexpr char kSharedHeap[] = "MALLOC_ARENA_MAX=1";

/** A client or the environment. */
struct Actor {
    SoakPlan plan;
    Decision decision;
    pid_t pid = 0;                    // process of the command; 0 during the pause
    steady_clock::time_point moment;  // end of the pause, or time to kill the command
};

struct Soak {
    const SoakOptions& options;
    const ScratchFolder& scratch;
    TestTv tv;
    SoakResult result;
    std::vector<Actor> actors;
    ToleratedViolations tolerated;
    bool daemonKilled = false;  // in this part, so clients may find no service
};

/** Adds a violation to the result, unless `problem` is empty. */
void report(Soak& soak, const std::string& problem) {
    if (!problem.empty()) soak.result.problems.push_back(problem);
}

void decide(Actor& actor) {
    actor.decision = actor.plan.next();
    actor.pid = 0;
    actor.moment = steady_clock::now() + actor.decision.pause;
}

void restartHal(Soak& soak) {
    if (soak.tv.hal != 0) endChild(soak.tv.hal, SIGKILL, 1s);
    report(soak, startHal(soak.tv, {}));
    ++soak.result.restarts;
}

/** Executes the actor's decision. */
void execute(Soak& soak, Actor& actor) {
    if (actor.decision.command[0] == "audio_hal") {
        restartHal(soak);
        return decide(actor);
    }
    const std::string errors = soak.scratch.path() + "/errors";
    report(soak, startCommand(soak.tv, actor.decision.command, "/dev/null", errors, actor.pid));
    if (actor.pid == 0) return decide(actor);
    ++soak.result.commands;
    const bool isKilled = actor.decision.kill.count() != 0;
    actor.moment = steady_clock::now() + (isKilled ? actor.decision.kill : kAnswerTimeout);
}

/**
 * Checks the exit status of a command. Status 1 is allowed: the service may return an error. A missing
 * service is allowed only if the daemon was killed.
 */
void checkStatus(Soak& soak, const Actor& actor, ChildStatus status) {
    if (status == client::kDone) return;
    if (status == client::kRefused) {
        ++soak.result.refused;
    } else if (status != client::kNoService || !soak.daemonKilled) {
        report(soak, "`" + describe(actor.decision) + "` " + describe(status));
    }
}

void advance(Soak& soak, Actor& actor, bool mayStart) {
    const auto now = steady_clock::now();
    if (actor.pid == 0) {
        if (mayStart && now >= actor.moment) execute(soak, actor);
        return;
    }
    if (const auto status = statusWithin(actor.pid, 0ms)) {
        checkStatus(soak, actor, *status);
        decide(actor);
    } else if (now >= actor.moment) {
        endChild(actor.pid, SIGKILL, 1s);
        if (actor.decision.kill.count() == 0)
            report(soak, "hang: no answer to `" + describe(actor.decision) + "`");
        ++soak.result.killed;
        decide(actor);
    }
}

bool daemonRuns(Soak& soak, std::chrono::milliseconds patience = {}) {
    if (const auto status = daemonEnding(soak.tv, patience))
        report(soak, "crash: the daemon " + describe(*status));
    return soak.tv.daemon != 0;
}

void runClients(Soak& soak, std::chrono::milliseconds length) {
    const auto end = steady_clock::now() + length;
    while (daemonRuns(soak) && steady_clock::now() < end) {
        for (Actor& actor : soak.actors) advance(soak, actor, true);
        std::this_thread::sleep_for(500us);
    }
}

/** Waits for all clients to exit, then clears the faults and the controller's settings. */
void stopClients(Soak& soak) {
    const auto isRunning = [](const Actor& actor) { return actor.pid != 0; };
    while (std::any_of(soak.actors.begin(), soak.actors.end(), isRunning)) {
        for (Actor& actor : soak.actors) advance(soak, actor, false);
        std::this_thread::sleep_for(500us);
    }
    writeValueFile(soak.tv.root + kBehaviourFile, "");
    for (const std::string& fault : faultFiles()) fs::remove(fault);
}

/**
 * Runs a command on the idle TV. Returns its status, or `std::nullopt` if it could not be started or timed
 * out.
 */
std::optional<ChildStatus> runOnIdleTv(const Soak& soak, const std::vector<std::string>& command,
                                       std::string& errors) {
    const std::string file = soak.scratch.path() + "/errors_on_idle_tv";
    fs::remove(file);
    pid_t pid = 0;
    errors = startCommand(soak.tv, command, "/dev/null", file, pid);
    if (!errors.empty()) return std::nullopt;
    const auto status = statusWithin(pid, kAnswerTimeout);
    if (!status) endChild(pid, SIGKILL, 1s);
    errors = contentOf(file);
    return status;
}

/**
 * Runs a command that must succeed. Retries for a while: the controller refuses an upload until it has
 * finished a slow one whose client or time-out has ended, and on a busy machine the daemon's time-outs may
 * expire.
 */
void mustSucceed(Soak& soak, const std::vector<std::string>& command) {
    const auto deadline = steady_clock::now() + kAnswerTimeout;
    std::string errors;
    do {
        if (!daemonRuns(soak) || runOnIdleTv(soak, command, errors) == 0) return;
        std::this_thread::sleep_for(50ms);
    } while (steady_clock::now() < deadline);
    report(soak, "on the idle TV, `" + describe(Decision{command, {}, {}}) + "` fails: " + errors);
}

/**
 * Waits up to 5 s until all invariants hold and the daemon's descriptors and threads stay the same. Returns
 * the usage; `broken` lists the remaining violations.
 */
Usage waitUntilIdle(const Soak& soak, std::vector<std::string>& broken) {
    return usageWhenIdle(soak.tv, kIdleTimeout, 50ms, [&](const Usage& now, const Usage& before) {
        broken = brokenInvariants(filesOf(soak.tv), soak.tolerated);
        return now.descriptors == before.descriptors && now.threads == before.threads && broken.empty();
    });
}

/**
 * Checks the idle TV and takes a sample. The two uploads replace abandoned ones, whose parameters the daemon
 * keeps.
 */
void checkIdleTv(Soak& soak) {
    std::vector<std::string> broken;
    // A restarted daemon does not end its predecessor's uploads: the new uploads below do.
    if (!soak.daemonKilled) waitUntilIdle(soak, broken);
    mustSucceed(soak, {"audioctl", "virtualizer", "upload", "device", "room.json"});
    mustSucceed(soak, {"audioctl", "virtualizer", "upload", "hrtf", "room.json"});
    mustSucceed(soak, {"audioctl", "external", "set", "on"});
    if (!daemonRuns(soak, soak.result.problems.empty() ? 0ms : 500ms)) return;
    soak.result.samples.push_back(waitUntilIdle(soak, broken));
    for (const std::string& each : broken) report(soak, "state: " + each);
    if (!servicesRegistered("hidlaudio", soak.tv.daemon)) report(soak, "services: not all are registered");
}

void killDaemon(Soak& soak) {
    endChild(soak.tv.daemon, SIGKILL, 1s);
    soak.tv.daemon = 0;
    soak.daemonKilled = true;
    for (const std::string& file : persistedFiles()) soak.tolerated.truncatedFiles.insert(file);
    ++soak.result.restarts;
    report(soak, startDaemon(soak.tv, {kSharedHeap}));
}

void runPart(Soak& soak) {
    const double milliseconds = soak.options.hours * 3600000 / soak.options.speed;
    runClients(soak, std::chrono::milliseconds(std::llround(milliseconds / kParts)));
    if (soak.options.restarts && daemonRuns(soak)) killDaemon(soak);
    stopClients(soak);
    // After a crash, clients notice that the service is gone before the process has ended.
    if (daemonRuns(soak, soak.result.problems.empty() ? 0ms : 500ms)) checkIdleTv(soak);
    soak.daemonKilled = false;
}

void checkGrowth(Soak& soak) {
    const std::vector<Usage>& samples = soak.result.samples;
    if (samples.size() < 2 || soak.options.restarts) return;
    Usage allowed = samples.front();
    allowed.descriptors += kDescriptorSlack;
    allowed.memory += kMemoryGrowth;
    for (const std::string& excess : excessOf(samples.back(), allowed)) report(soak, "growth: " + excess);
}

std::string start(Soak& soak) {
    linkInputFiles(soak.tv, soak.scratch.parameters(), scenarioFolder());
    if (!fs::exists(soak.tv.folder + "/room.json")) return scenarioFolder() + "/room.json is missing";
    if (std::string problem = makeTestTv(soak.tv, {"--centre-input"}); !problem.empty()) return problem;
    if (std::string problem = startHal(soak.tv, {}); !problem.empty()) return problem;
    return startDaemon(soak.tv, {kSharedHeap});
}

void soakParts(Soak& soak) {
    report(soak, start(soak));
    if (!soak.result.problems.empty()) return;
    for (unsigned number = 0; number <= soak.options.clients; ++number) {
        soak.actors.push_back({SoakPlan(soak.options.seed, number), {}, 0, {}});
        decide(soak.actors.back());
    }
    for (int i = 0; i < kParts && soak.result.problems.empty(); ++i) runPart(soak);
    checkGrowth(soak);
}

}  // namespace

SoakResult runSoak(const SoakOptions& options, const ScratchFolder& scratch) {
    Soak soak{options, scratch, {scratch.path() + "/tv", scratch.path() + "/files", options.speed},
              {},      {},      {}};
    try {
        soakParts(soak);
    } catch (const fs::filesystem_error& error) {
        report(soak, error.what());
    }
    stopTv(soak.tv);
    return soak.result;
}

}  // namespace hidlaudio::host
