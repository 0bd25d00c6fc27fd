// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <nlohmann/json.hpp>

#include "host/program/interrupt.h"

namespace hidlaudio::host {

/**
 * Work items, each of which runs in a process of its own. When an item ends or this process is killed, the
 * processes that the item has started are killed.
 */
struct PoolWork {
    size_t count = 0;
    unsigned jobs = 1;  // items that run at the same time
    /** Runs an item in its own process. Returns the result. */
    std::function<nlohmann::json(size_t index)> run;
    /** Receives the result in this process. It is null if the item crashed. */
    std::function<void(size_t index, const nlohmann::json& result)> done;
};

/**
 * Runs all items. Returns false after an interrupt, when all workers have been killed. This process must be
 * single-threaded.
 */
bool runAll(const PoolWork& pool, const Interrupt& interrupt);

}  // namespace hidlaudio::host
