// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <unistd.h>

#include <filesystem>
#include <string>

#include "becomes_true.h"
#include "private_tv.h"

namespace hidlaudio::test {

inline std::string procFolder(pid_t pid) {
    return "/proc/" + std::to_string(pid);
}

/** How many descriptors ("fd") or threads ("task") the system holds for a process; 0 for one that is gone. */
inline size_t countOf(const char* name, pid_t pid) {
    std::error_code ignored;
    const std::filesystem::directory_iterator entries(procFolder(pid) + "/" + name, ignored);
    return static_cast<size_t>(std::distance(begin(entries), end(entries)));
}

/** Whether nothing in a process wakes up any more, once it has done what there was to do. */
inline bool fallsAsleep(pid_t pid) {
    // How often each thread went to sleep or was put off.
    const auto switches = [pid] {
        std::string all;
        for (const auto& task : std::filesystem::directory_iterator(procFolder(pid) + "/task")) {
            const std::string status = contentOf(task.path() / "status");
            all += status.substr(status.find("voluntary_ctxt_switches"));
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
