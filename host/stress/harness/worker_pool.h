// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>

#include "host/tv/processes/interrupt.h"

namespace hidlaudio::host {

/**
 * Does pieces of work in processes of their own, several at a time. What a piece
 * starts and leaves running is killed with it, also when this process is killed.
 */
struct PoolWork {
    size_t count = 0;
    unsigned jobs = 1;
    std::function<std::string(size_t index)> work;  // in its process; the answer
    std::function<void(size_t index, const std::string& answer, bool whole)> done;  // here; false: it crashed
};

/** False where the user interrupted it: all that ran is ended then. This process must have no threads. */
bool runAll(const PoolWork& pool, const Interrupt& interrupt);

}  // namespace hidlaudio::host
