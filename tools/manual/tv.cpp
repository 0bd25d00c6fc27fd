// SPDX-License-Identifier: Apache-2.0
#include <stdio.h>

#include <exception>
#include <iterator>

#include "host/audio_hal/operations.h"
#include "host/middleware/config_keys.h"
#include "host/middleware/functions.h"
#include "host/root/back_end_behaviour.h"
#include "host/tv/commands.h"
#include "write_manual.h"

using namespace hidlaudio;

namespace {

std::vector<std::string> faultyFunctions() {
    std::vector<std::string> names(std::begin(host::kMiddlewareFunctions),
                                   std::end(host::kMiddlewareFunctions));
    names.insert(names.end(), std::begin(host::kHalOperations), std::end(host::kHalOperations));
    return names;
}

template <typename Table>
std::vector<std::string> namesOf(const Table& table) {
    std::vector<std::string> names;
    for (const auto& row : table) names.emplace_back(row.name);
    return names;
}

std::vector<std::string> kindsAndSettings() {
    std::vector<std::string> names = namesOf(host::kBackEndSettings);
    for (const host::UploadKind kind : host::kUploadKinds) names.emplace_back(nameOf(kind));
    return names;
}

int run(int argc, char** argv) {
    int status = 0;
    CLI::App app;
    host::addCommandLine(app, status);
    return manual::writeManual(app,
                               {{"tv config", "KEY", namesOf(host::kConfigKeys)},
                                {"tv fault", "NAME", faultyFunctions()},
                                {"tv bectrl", "[device|hrtf]", kindsAndSettings()},
                                {"tv bectrl", "SETTING", namesOf(host::kBackEndSettings)}},
                               argc, argv);
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const std::exception& error) {
        fprintf(stderr, "manual: %s\n", error.what());
        return 1;
    }
}
