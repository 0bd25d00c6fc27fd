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

/** What the heap keeps of a block that was freed is little more than the block. */
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
    printf("%g h of the TV's time: %u commands, %u refused, %u clients killed, %u programs restarted\n",
           options.hours, result.commands, result.refused, result.killed, result.restarts);
    for (const Usage& usage : result.samples) printf("the daemon at rest: %s\n", describe(usage).c_str());
    for (const std::string& problem : result.problems) printf("! %s\n", problem.c_str());
    return result.problems.empty() ? kDone
                                   : fail(std::to_string(result.problems.size()) + " things must not be");
}

SoakResult resultOf(const std::string& answer, bool whole) {
    const nlohmann::json json = nlohmann::json::parse(answer, nullptr, false);
    if (whole && json.is_object()) return json.get<SoakResult>();
    SoakResult result;
    result.problems.emplace_back("the soak itself crashed");
    return result;
}

std::string dump(const SoakResult& result) {
    return nlohmann::json(result).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

int run(const Options& options, uint64_t seed) {
    const Interrupt interrupt;
    const ScratchFolder folder(kParametersSize);
    if (folder.path().empty()) return fail("no temporary folder can be made");
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
        app.add_subcommand("soak", "Let many clients use a TV for hours, and see what is left");
    command->footer(
        "Makes a TV of its own, whose time passes faster, and lets clients use all services,\n"
        "upload, cancel and die, while the controller is slow or refuses, functions of the middleware and\n"
        "of the audio HAL fail, and the audio HAL is restarted. Five times all comes to rest: then what the\n"
        "daemon has written must be whole, no wake lock held, each service there and in working order; and\n"
        "the daemon must not hold more memory, descriptors or threads at the end than after the first "
        "fifth.\n"
        "The same seed gives the same decisions; how far they come depends on the machine. Exit status 1\n"
        "where something must not be.\n"
        "\n"
        "Example:\n"
        "  tv_stress soak --hours 24 --clients 8");
    command->add_option("--hours", options->hours, "How long, in the TV's time")
        ->type_name("N")
        ->check([](const std::string& given) { return checkNumber(given, 0.01, 100000); })
        ->capture_default_str();
    command
        ->add_option("--speed", options->speed,
                     "How many times faster the TV's time passes; fewer for a slow machine")
        ->type_name("N")
        ->check([](const std::string& given) { return checkInteger(given, 1, 1000); })
        ->capture_default_str();
    command->add_option("--seed", options->seed, "Which decisions are taken; otherwise any")
        ->type_name("S")
        ->check([](const std::string& given) { return checkInteger(given, 0, UINT64_MAX); });
    command->add_option("--clients", options->clients, "How many use it at a time")
        ->type_name("K")
        ->check([](const std::string& given) { return checkInteger(given, 1, 100); })
        ->capture_default_str();
    command->add_flag("--restarts", options->restarts,
                      "Kill the daemon five times on the way; then its growth is not measured");
    command
        ->add_option("--plan", options->plan, "Only print the first N decisions of each; 0 is what is around")
        ->type_name("N")
        ->check([](const std::string& given) { return checkInteger(given, 1, 1000000); });
    command->callback([options, &status] { status = soak(*options); });
}

}  // namespace hidlaudio::host
