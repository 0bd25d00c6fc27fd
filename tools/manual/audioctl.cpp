// SPDX-License-Identifier: Apache-2.0
#include <stdio.h>

#include <exception>
#include <sstream>

#include "client/commands.h"
#include "client/known_services.h"
#include "write_manual.h"

using namespace hidlaudio;

namespace {

/** The first word of each line of the list that the help shows. */
std::vector<std::string> shortNamesOfServices() {
    std::istringstream lines(client::describeKnownServices());
    std::vector<std::string> names;
    for (std::string name, interface; lines >> name >> interface;) names.push_back(name);
    return names;
}

int run(int argc, char** argv) {
    client::Invocation invocation;
    CLI::App app;
    client::addCommandLine(app, invocation);
    const std::vector<std::string> services = shortNamesOfServices();
    return manual::writeManual(app,
                               {{"audioctl ping", "SERVICE", services},
                                {"audioctl wait", "INTERFACE", services},
                                {"audioctl dump", "SERVICE", services}},
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
