// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include "becomes_true.h"
#include "private_tv.h"

namespace hidlaudio::test {

inline std::string procFolder(pid_t pid) {
    return "/proc/" + std::to_string(pid);
}

/** Returns how many descriptors ("fd") or threads ("task") a process has; 0 if it has ended. */
inline size_t countOf(const char* name, pid_t pid) {
    std::error_code ignored;
    const std::filesystem::directory_iterator entries(procFolder(pid) + "/" + name, ignored);
    return static_cast<size_t>(std::distance(begin(entries), end(entries)));
}

/** Returns true once no thread of the process wakes up for 100 ms; false after 30 s. */
inline bool fallsAsleep(pid_t pid) {
    // Context switches of each thread, voluntary and not.
    const auto switches = [pid] {
        std::string all;
        for (const auto& task : std::filesystem::directory_iterator(procFolder(pid) + "/task")) {
            const std::string status = contentOf(task.path() / "status");
            // A thread that ends during the read has none.
            all += status.substr(std::min(status.find("voluntary_ctxt_switches"), status.size()));
        }
        return all;
    };
    return becomesTrue([&] {
        const std::string before = switches();
        usleep(100'000);
        return switches() == before;
    });
}

}  // namespace hidlaudio::test
