// SPDX-License-Identifier: Apache-2.0
#include <stdio.h>

#include <memory>
#include <random>

#include "host/program/standard_streams.h"
#include "host/program/terminal.h"
#include "host/scenario/harness/worker_pool.h"
#include "host/stress/commands.h"
#include "soak_plan.h"
#include "soak_run.h"
#include "soak_shrink.h"

namespace hidlaudio::host {
namespace {

/** In bytes. Small, so that freed blocks that the heap retains do not look like a leak. */
constexpr size_t kParametersSize = 262144;

int printPlan(const SoakOptions& options, unsigned count) {
    for (unsigned actor = 0; actor <= options.clients; ++actor) {
        SoakPlan plan(options.seed, actor);
        for (unsigned i = 0; i < count; ++i) printf("%u: %s\n", actor, describe(plan.next()).c_str());
    }
    return kDone;
}

int report(const SoakOptions& options, const SoakResult& result) {
    printf("%g h of TV time: %u commands, %u refused, %u clients killed, %u programs restarted\n",
           options.hours, result.commands, result.refused, result.killed, result.restarts);
    for (const Usage& usage : result.samples)
        printf("idle daemon: %ld KiB, %ld descriptors, %ld threads\n", usage.memory, usage.descriptors,
               usage.threads);
    for (const std::string& problem : result.problems) printf("! %s\n", problem.c_str());
    return result.problems.empty() ? kDone : fail(std::to_string(result.problems.size()) + " violations");
}

int run(const SoakOptions& options, const std::string& shrinkFolder) {
    const Interrupt interrupt;
    const ScratchFolder folder(kParametersSize);
    if (folder.path().empty()) return fail("cannot create a temporary folder");
    SoakResult result;
    PoolWork pool;
    pool.count = 1;
    pool.run = [&](size_t) { return runSoak(options, folder); };
    pool.done = [&](size_t, const nlohmann::json& json) {
        result.problems.emplace_back("the soak process crashed");
        if (json.is_object()) result = json.get<SoakResult>();
    };
    if (!runAll(pool, interrupt)) return fail("interrupted");
    const int status = report(options, result);
    if (result.problems.empty() || shrinkFolder.empty()) return status;
    const std::string problem = shrinkSoak(options, result, folder.path() + "/tv", shrinkFolder, interrupt);
    return problem.empty() ? status : fail(problem);
}

}  // namespace

void addSoak(Command app, int& status) {
    const auto options = std::make_shared<SoakOptions>();
    const auto plan = std::make_shared<unsigned>(0);
    const auto shrinkFolder = std::make_shared<std::string>();
    options->seed = std::random_device()();
    const Command command =
        app.addCommand("soak", "Run random clients on a TV for hours and check the daemon");
    command.setHelp(
        "Boots a temporary TV, whose clock runs faster. Clients use all services at random: they upload,\n"
        "cancel and are killed. Meanwhile the controller is slow or refuses uploads, functions of the\n"
        "middleware and the audio HAL fail, and the audio HAL is restarted.\n"
        "\n"
        "The daemon must not crash, and each command must return. After each fifth of the time, all clients\n"
        "stop. Then the stored files must be valid, no wake lock may be held, and each service must be\n"
        "registered and work. At the end, the daemon must not hold more memory, descriptors or threads\n"
        "than after the first fifth, apart from a tolerance. The soak prints each violation.\n"
        "\n"
        "The same seed gives the same decisions. Their number depends on the speed of the machine.",
        {"1  a violation was found, the soak was interrupted, or the output could not be written",
         "2  the arguments are wrong"},
        {"tv_stress soak --hours 24 --clients 8", "tv_stress soak --seed 7 --plan 20"});
    command
        .option("--hours", "N", options->hours,
                "Duration by the clock of the TV, 0.01 to 100000 (default: 1)")
        .number(0.01, 100000);
    command
        .option("--speed", "N", options->speed,
                "Speed of the TV's clock, 1 to 1000 times real time (default:\n"
                "360); use a lower number on a slow machine")
        .integer(1, 1000);
    command.option("--seed", "S", options->seed, "Random seed, 0 to 18446744073709551615 (default: random)")
        .integer(0, UINT64_MAX);
    command.option("--clients", "K", options->clients, "Number of concurrent clients, 1 to 100 (default: 4)")
        .integer(1, 100);
    command.flag("--restarts", options->restarts,
                 "Kill and restart the daemon at the end of each fifth of the\n"
                 "time, and do not compare its memory, descriptors and threads");
    command
        .option("--shrink", "DIR", *shrinkFolder,
                "After a violation, write the TV's log and a scenario made of\n"
                "it to a new folder in DIR, and after a crash or a hang also the\n"
                "shortest scenario that shows it. See `tv shrink`")
        .notEmpty();
    command
        .option("--plan", "N", *plan,
                "Only print the first N decisions, 1 to 1000000, of each client;\n"
                "0 stands for the environment (controller, faults, audio HAL)")
        .integer(1, 1000000);
    command.onRun([options, plan, shrinkFolder, &status] {
        printf("seed %llu\n", static_cast<unsigned long long>(options->seed));
        flushOutput();
        status = *plan != 0 ? printPlan(*options, *plan) : run(*options, *shrinkFolder);
    });
}

}  // namespace hidlaudio::host
