// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <hidl/HidlTransportSupport.h>
#include <unistd.h>

#include <chrono>
#include <string>

#include "results.h"

namespace tovi_audio_vts {

/**
 * Calls a method of each registered service of the package; a call that fails is a test failure. Settings
 * keep their values.
 */
void callAllServices();

/**
 * Waits until a service answers that is not the one in `old`. Returns null if none does in time.
 *
 * @param get returns the registered service, or null
 */
template <typename Interface>
sp<Interface> awaitRestart(sp<Interface> (*get)(const std::string&), const std::string& name,
                           const sp<Interface>& old);

/** Restarts the service with the command of the options. Returns false if that fails. */
bool runRestartCommand();

/** Skips a test that restarts the service if the options have no command for that. */
#define SKIP_WITHOUT_RESTART()            \
    if (options().restartCommand.empty()) \
    GTEST_SKIP() << "needs --restart-command: the service must be restarted"

template <typename Interface>
sp<Interface> awaitRestart(sp<Interface> (*get)(const std::string&), const std::string& name,
                           const sp<Interface>& old) {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::minutes(3);
    do {
        const sp<Interface> service = get(name);
        if (service != nullptr && !::android::hardware::interfacesEqual(service, old) &&
            service->ping().isOk()) {
            return service;
        }
        usleep(20000);
    } while (std::chrono::steady_clock::now() < limit);
    ADD_FAILURE() << "the service was not registered again";
    return nullptr;
}

/** Restarts the service behind `instance` and returns its new object, or null if that fails. */
template <typename Oldest>
sp<Oldest> restart(const Instance<Oldest>& instance, const sp<Oldest>& old) {
    if (!runRestartCommand()) return nullptr;
    return awaitRestart(instance.get, instance.name, old);
}

}  // namespace tovi_audio_vts
