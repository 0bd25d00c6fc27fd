// SPDX-License-Identifier: Apache-2.0
#include "line_notes.h"

namespace hidlaudio::client {

void LineNotes::add(size_t line, const std::string& reason) {
    if (!runs_.empty() && runs_.back().reason == reason && line <= runs_.back().last + 1) {
        runs_.back().last = line;
    } else {
        runs_.push_back({line, line, reason});
    }
}

std::vector<std::string> LineNotes::messages() const {
    std::vector<std::string> messages;
    for (const Run& run : runs_) {
        const std::string lines =
            run.first == run.last ? "line " + std::to_string(run.first)
                                  : "lines " + std::to_string(run.first) + " to " + std::to_string(run.last);
        messages.push_back(lines + ": " + run.reason);
    }
    return messages;
}

}  // namespace hidlaudio::client
