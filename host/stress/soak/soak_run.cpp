// SPDX-License-Identifier: Apache-2.0
#include "soak_run.h"

#include <signal.h>
#include <string.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <thread>

#include "client/exit_status.h"
#include "host/audio_hal/operations.h"
#include "host/stress/sweep/sweep_scenario.h"
#include "host/tv/processes/programs.h"
#include "host/tv/state/registry.h"
#include "host/tv_files/back_end_files.h"
#include "host/tv_files/tv_root.h"
#include "host/tv_files/value_file.h"
#include "soak_plan.h"

namespace hidlaudio::host {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using std::chrono::steady_clock;

/** The first part is the warm-up: growth is measured from its end. */
constexpr int kParts = 5;
constexpr auto kAnswerLimit = 60s;
constexpr auto kRestLimit = 5s;
constexpr int kTries = 5;
/** Tolerated growth in KiB, for pools and a fragmented heap. */
constexpr long kMemorySlack = 1024;
/** The link to the audio HAL keeps one socket for each of the two transfer threads that have called it. */
constexpr long kDescriptorSlack = 2;
/** Makes all threads share one heap, so that retained memory does not depend on the allocating thread. */
constexpr char kOneHeap[] = "MALLOC_ARENA_MAX=1";

/** A client or the environment. */
struct Actor {
    SoakPlan plan;
    Decision decision;
    pid_t pid = 0;                    // process of the command; 0 during the pause
    steady_clock::time_point moment;  // end of the pause, or time to kill the command
    steady_clock::time_point deadline;
};

struct Soak {
    const SoakSetup& setup;
    TestTv tv;
    SoakResult result;
    std::vector<Actor> actors;
    ToleratedViolations tolerated;
    bool daemonKilled = false;  // in this part, so clients may find no service
};

void complain(Soak& soak, const std::string& problem) {
    soak.result.problems.push_back(problem);
}

void decide(Actor& actor) {
    actor.decision = actor.plan.next();
    actor.pid = 0;
    actor.moment = steady_clock::now() + actor.decision.pause;
}

void restartHal(Soak& soak) {
    endChild(soak.tv.hal, SIGKILL, 1s);
    const std::string problem = startHal(soak.tv, {});
    if (!problem.empty()) complain(soak, problem);
    ++soak.result.restarts;
}

/** Executes the actor's decision. */
void begin(Soak& soak, Actor& actor) {
    if (actor.decision.command[0] == "audio_hal") {
        restartHal(soak);
        decide(actor);
        return;
    }
    ChildSetup setup{actor.decision.command, {}, "/dev/null", soak.setup.folder + "/errors", soak.tv.folder};
    setup.arguments[0] = programFile(actor.decision.command[0]);
    if (const int error = startChild(setup, actor.pid); error != 0) {
        complain(soak, setup.arguments[0] + ": " + strerror(error));
        decide(actor);
        return;
    }
    ++soak.result.commands;
    actor.deadline = steady_clock::now() + kAnswerLimit;
    actor.moment =
        actor.decision.kill.count() != 0 ? steady_clock::now() + actor.decision.kill : actor.deadline;
}

/**
 * Checks the exit status of a command. Status 1 is allowed: the service may return an error. A missing
 * service is allowed only if the daemon was killed.
 */
void judge(Soak& soak, const Actor& actor, ChildStatus status) {
    constexpr ChildStatus kRefusal = 1;
    if (status == 0) return;
    if (status == kRefusal) {
        ++soak.result.refused;
    } else if (status != client::kNoService || !soak.daemonKilled) {
        complain(soak, "`" + describe(actor.decision) + "` " + describe(status));
    }
}

void attend(Soak& soak, Actor& actor, bool mayBegin) {
    const auto now = steady_clock::now();
    if (actor.pid == 0) {
        if (mayBegin && now >= actor.moment) begin(soak, actor);
        return;
    }
    if (const auto status = statusWithin(actor.pid, 0ms)) {
        judge(soak, actor, *status);
        decide(actor);
    } else if (now >= actor.moment) {
        const bool isMeant = actor.decision.kill.count() != 0;
        endChild(actor.pid, SIGKILL, 1s);
        if (!isMeant) complain(soak, "hang: no answer to `" + describe(actor.decision) + "`");
        ++soak.result.killed;
        decide(actor);
    }
}

bool anyActs(const Soak& soak) {
    for (const Actor& actor : soak.actors) {
        if (actor.pid != 0) return true;
    }
    return false;
}

bool daemonRuns(Soak& soak, std::chrono::milliseconds patience = {}) {
    if (const auto status = daemonEnding(soak.tv, patience))
        complain(soak, "crash: the daemon " + describe(*status));
    return soak.tv.daemon != 0;
}

void act(Soak& soak, std::chrono::milliseconds length) {
    const auto end = steady_clock::now() + length;
    while (daemonRuns(soak) && steady_clock::now() < end) {
        for (Actor& actor : soak.actors) attend(soak, actor, true);
        std::this_thread::sleep_for(500us);
    }
}

/** Waits for all clients to exit, then clears the faults and the controller's settings. */
void comeToRest(Soak& soak) {
    while (anyActs(soak)) {
        for (Actor& actor : soak.actors) attend(soak, actor, false);
        std::this_thread::sleep_for(500us);
    }
    writeValueFile(soak.tv.root + kBehaviourFile, "");
    for (const char* folder : {"/soc/faults", kHalFaultFolder}) {
        for (const auto& fault : fs::directory_iterator(soak.tv.root + folder)) fs::remove(fault.path());
    }
}

/**
 * Runs a command on the idle TV. Returns its status, or `std::nullopt` if it could not be started or timed
 * out.
 */
std::optional<ChildStatus> runAtRest(const Soak& soak, std::vector<std::string> command,
                                     std::string& errors) {
    const std::string file = soak.setup.folder + "/at_rest";
    fs::remove(file);
    command[0] = programFile(command[0]);
    pid_t pid = 0;
    if (startChild({command, {}, "/dev/null", file, soak.tv.folder}, pid) != 0) return std::nullopt;
    const auto status = statusWithin(pid, kAnswerLimit);
    if (!status) endChild(pid, SIGKILL, 1s);
    readValueFile(file, errors);
    return status;
}

/** Runs a command that must succeed. Retries, because on a busy machine the daemon's time-outs may expire. */
void mustGoWell(Soak& soak, const std::vector<std::string>& command) {
    std::string errors;
    for (int i = 0; i < kTries; ++i) {
        if (runAtRest(soak, command, errors) == 0) return;
    }
    complain(soak, "on the idle TV, `" + describe(Decision{command, {}, {}}) + "` fails: " + errors);
}

/**
 * Waits up to 5 s until all invariants hold and the daemon's descriptors and threads stay the same. Returns
 * the usage; `broken` lists the remaining violations.
 */
Usage usageAtRest(const Soak& soak, std::vector<std::string>& broken) {
    const auto deadline = steady_clock::now() + kRestLimit;
    Usage before;
    for (;;) {
        const Usage now = usageOf(soak.tv.daemon);
        broken = brokenInvariants(filesOf(soak.tv), soak.tolerated);
        const bool isStill = now.descriptors == before.descriptors && now.threads == before.threads;
        if ((isStill && broken.empty()) || steady_clock::now() > deadline) return now;
        before = now;
        std::this_thread::sleep_for(50ms);
    }
}

/**
 * Checks the idle TV and takes a sample. The two uploads replace abandoned ones, whose parameters the daemon
 * keeps.
 */
void check(Soak& soak) {
    std::vector<std::string> broken;
    // A restarted daemon does not end its predecessor's uploads: the new uploads below do.
    if (!soak.daemonKilled) usageAtRest(soak, broken);
    mustGoWell(soak, {"audioctl", "virtualizer", "upload", "device", "room.json"});
    mustGoWell(soak, {"audioctl", "virtualizer", "upload", "hrtf", "room.json"});
    mustGoWell(soak, {"audioctl", "external", "set", "on"});
    if (!daemonRuns(soak, soak.result.problems.empty() ? 0ms : 500ms)) return;
    soak.result.samples.push_back(usageAtRest(soak, broken));
    for (const std::string& each : broken) complain(soak, "state: " + each);
    if (!servicesRegistered("hidlaudio", soak.tv.daemon)) complain(soak, "services: not all are registered");
}

void killDaemon(Soak& soak) {
    endChild(soak.tv.daemon, SIGKILL, 1s);
    soak.tv.daemon = 0;
    soak.daemonKilled = true;
    for (const std::string& file : persistedFiles()) soak.tolerated.cutOff.insert(file);
    ++soak.result.restarts;
    const std::string problem = startDaemon(soak.tv, {kOneHeap});
    if (!problem.empty()) complain(soak, problem);
}

void part(Soak& soak) {
    act(soak, soak.setup.length / kParts);
    if (soak.setup.restarts && daemonRuns(soak)) killDaemon(soak);
    comeToRest(soak);
    // After a crash, clients notice that the service is gone before the process has ended.
    if (daemonRuns(soak, soak.result.problems.empty() ? 0ms : 500ms)) check(soak);
    soak.daemonKilled = false;
}

void checkGrowth(Soak& soak) {
    const std::vector<Usage>& samples = soak.result.samples;
    if (samples.size() < 2 || soak.setup.restarts) return;
    const auto grows = [&soak](const char* what, long first, long last) {
        if (last > first)
            complain(soak, std::string("growth: ") + what + " from " + std::to_string(first) + " to " +
                               std::to_string(last));
    };
    grows("descriptors", samples.front().descriptors + kDescriptorSlack, samples.back().descriptors);
    grows("threads", samples.front().threads, samples.back().threads);
    grows("KiB of memory", samples.front().memory + kMemorySlack, samples.back().memory);
}

std::string start(Soak& soak) {
    fs::create_directories(soak.tv.folder);
    fs::create_symlink(soak.setup.parameters, soak.tv.folder + "/parameters.bin");
    fs::create_symlink(scenarioFolder() + "/room.json", soak.tv.folder + "/room.json");
    if (!fs::exists(soak.tv.folder + "/room.json")) return scenarioFolder() + "/room.json is missing";
    if (std::string problem = makeTestTv(soak.tv, {"--centre-input"}); !problem.empty()) return problem;
    if (std::string problem = startHal(soak.tv, {}); !problem.empty()) return problem;
    return startDaemon(soak.tv, {kOneHeap});
}

void soakParts(Soak& soak) {
    if (const std::string problem = start(soak); !problem.empty()) return complain(soak, problem);
    for (unsigned who = 0; who <= soak.setup.clients; ++who) {
        soak.actors.push_back({SoakPlan(soak.setup.seed, who), {}, 0, {}, {}});
        decide(soak.actors.back());
    }
    for (int i = 0; i < kParts && soak.result.problems.empty(); ++i) part(soak);
    checkGrowth(soak);
}

}  // namespace

SoakResult runSoak(const SoakSetup& setup) {
    Soak soak{setup, {setup.folder + "/tv", setup.folder + "/files", 0, 0, setup.clock}, {}, {}, {}};
    try {
        soakParts(soak);
    } catch (const fs::filesystem_error& error) {
        complain(soak, error.what());
    }
    stopDaemon(soak.tv);
    stopHal(soak.tv);
    return soak.result;
}

}  // namespace hidlaudio::host
