// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>

#include "host/tv/processes/interrupt.h"

namespace hidlaudio::host {

/**
 * Work items, each of which runs in a process of its own. When an item ends or this process is killed, the
 * processes that the item has started are killed.
 */
struct PoolWork {
    size_t count = 0;
    unsigned jobs = 1;  // items that run at the same time
    /** Runs an item in its own process. Returns the answer. */
    std::function<std::string(size_t index)> work;
    /** Receives the answer in this process. `whole` is false if the item crashed. */
    std::function<void(size_t index, const std::string& answer, bool whole)> done;
};

/**
 * Runs all items. Returns false after an interrupt, when all workers have been killed. This process must be
 * single-threaded.
 */
bool runAll(const PoolWork& pool, const Interrupt& interrupt);

}  // namespace hidlaudio::host
