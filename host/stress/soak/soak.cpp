// SPDX-License-Identifier: Apache-2.0
#include <stdio.h>

#include <cmath>
#include <memory>
#include <random>

#include "host/program/number_argument.h"
#include "host/program/standard_streams.h"
#include "host/program/terminal.h"
#include "host/stress/commands.h"
#include "host/stress/harness/scratch_folder.h"
#include "host/stress/harness/worker_pool.h"
#include "soak_plan.h"
#include "soak_run.h"

namespace hidlaudio::host {
namespace {

/** In bytes. Small, so that freed blocks that the heap retains do not look like a leak. */
constexpr size_t kParametersSize = 262144;

struct Options {
    double hours = 1;
    unsigned speed = 360;
    std::optional<uint64_t> seed;
    unsigned clients = 4;
    unsigned plan = 0;
    bool restarts = false;
};

int printPlan(const Options& options, uint64_t seed) {
    for (unsigned who = 0; who <= options.clients; ++who) {
        SoakPlan plan(seed, who);
        for (unsigned i = 0; i < options.plan; ++i) printf("%u: %s\n", who, describe(plan.next()).c_str());
    }
    return kDone;
}

std::string describe(const Usage& usage) {
    return std::to_string(usage.memory) + " KiB, " + std::to_string(usage.descriptors) + " descriptors, " +
           std::to_string(usage.threads) + " threads";
}

int report(const Options& options, const SoakResult& result) {
    printf("%g h of TV time: %u commands, %u refused, %u clients killed, %u programs restarted\n",
           options.hours, result.commands, result.refused, result.killed, result.restarts);
    for (const Usage& usage : result.samples) printf("idle daemon: %s\n", describe(usage).c_str());
    for (const std::string& problem : result.problems) printf("! %s\n", problem.c_str());
    return result.problems.empty() ? kDone : fail(std::to_string(result.problems.size()) + " violations");
}

SoakResult resultOf(const std::string& answer, bool whole) {
    const nlohmann::json json = nlohmann::json::parse(answer, nullptr, false);
    if (whole && json.is_object()) return json.get<SoakResult>();
    SoakResult result;
    result.problems.emplace_back("the soak process crashed");
    return result;
}

std::string dump(const SoakResult& result) {
    return nlohmann::json(result).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

int run(const Options& options, uint64_t seed) {
    const Interrupt interrupt;
    const ScratchFolder folder(kParametersSize);
    if (folder.path().empty()) return fail("cannot create a temporary folder");
    const auto length = std::chrono::milliseconds(std::llround(options.hours * 3600000 / options.speed));
    const SoakSetup setup{folder.path(), folder.parameters(), seed, options.clients, length,
                          options.speed, options.restarts};
    SoakResult result;
    PoolWork pool;
    pool.count = 1;
    pool.work = [&](size_t) { return dump(runSoak(setup)); };
    pool.done = [&](size_t, const std::string& answer, bool whole) { result = resultOf(answer, whole); };
    return runAll(pool, interrupt) ? report(options, result) : fail("interrupted");
}

int soak(const Options& options) {
    std::random_device device;
    const uint64_t seed = options.seed ? *options.seed : device();
    printf("seed %llu\n", static_cast<unsigned long long>(seed));
    flushOutput();
    return options.plan != 0 ? printPlan(options, seed) : run(options, seed);
}

}  // namespace

void addSoak(CLI::App& app, int& status) {
    const auto options = std::make_shared<Options>();
    CLI::App* command =
        app.add_subcommand("soak", "Run random clients on a TV for hours and check the daemon");
    command->footer(
        "Boots a temporary TV, whose clock runs faster. Clients use all services at random: they upload,\n"
        "cancel and are killed. Meanwhile the controller is slow or refuses uploads, functions of the\n"
        "middleware and the audio HAL fail, and the audio HAL is restarted.\n"
        "\n"
        "The daemon must not crash, and each command must return. After each fifth of the time, all clients\n"
        "stop. Then the stored files must be valid, no wake lock may be held, and each service must be\n"
        "registered and work. At the end, the daemon must not hold more memory, descriptors or threads\n"
        "than after the first fifth, apart from a tolerance. The soak prints each violation.\n"
        "\n"
        "The same seed gives the same decisions. Their number depends on the speed of the machine.\n"
        "\n"
        "Exit status:\n"
        "  1  a violation was found, the soak was interrupted, or the output could not be written\n"
        "  2  the arguments are wrong\n"
        "\n"
        "Examples:\n"
        "  tv_stress soak --hours 24 --clients 8\n"
        "  tv_stress soak --seed 7 --plan 20");
    command
        ->add_option("--hours", options->hours,
                     "Duration by the clock of the TV, 0.01 to 100000 (default: 1)")
        ->type_name("N")
        ->check([](const std::string& given) { return checkNumber(given, 0.01, 100000); });
    command
        ->add_option("--speed", options->speed,
                     "Speed of the TV's clock, 1 to 1000 times real time (default:\n"
                     "360); use a lower number on a slow machine")
        ->type_name("N")
        ->check([](const std::string& given) { return checkInteger(given, 1, 1000); });
    command->add_option("--seed", options->seed, "Random seed, 0 to 18446744073709551615 (default: random)")
        ->type_name("S")
        ->check([](const std::string& given) { return checkInteger(given, 0, UINT64_MAX); });
    command->add_option("--clients", options->clients, "Number of concurrent clients, 1 to 100 (default: 4)")
        ->type_name("K")
        ->check([](const std::string& given) { return checkInteger(given, 1, 100); });
    command->add_flag("--restarts", options->restarts,
                      "Kill and restart the daemon at the end of each fifth of the\n"
                      "time, and do not compare its memory, descriptors and threads");
    command
        ->add_option("--plan", options->plan,
                     "Only print the first N decisions, 1 to 1000000, of each client;\n"
                     "0 stands for the environment (controller, faults, audio HAL)")
        ->type_name("N")
        ->check([](const std::string& given) { return checkInteger(given, 1, 1000000); });
    command->callback([options, &status] { status = soak(*options); });
}

}  // namespace hidlaudio::host
