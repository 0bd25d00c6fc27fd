// SPDX-License-Identifier: Apache-2.0
#include <filesystem>
#include <string>

#include "client/surroundings.h"
#include "host/tv_files/tv_check.h"
#include "host/tv_files/tv_root.h"

namespace hidlaudio::client {

void addTvOption(host::Command app) {
    app.option(
           "--tv", "DIR", [](const std::string& given) { host::setTvRoot(given); },
           "Use the TV in this folder (default: $HIDLAUDIO_TV, or else\n"
           "$XDG_STATE_HOME/hidlaudio/tv, or else ~/.local/state/hidlaudio/tv)")
        .notEmpty();
}

std::string problemOfTv() {
    std::error_code ignored;
    const bool exists = std::filesystem::is_directory(host::tvRoot(), ignored);
    return exists ? host::registryProblem(host::tvRoot())
                  : host::tvRoot() + " is not a TV; create one with `tv init`";
}

std::string hintForMissingService() {
    return " on the TV " + host::tvRoot() + "; start the services with `tv boot`";
}

}  // namespace hidlaudio::client
