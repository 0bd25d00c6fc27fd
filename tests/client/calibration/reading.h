// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gmock/gmock.h>

#include <string>

#include "client/calibration/import/import.h"

namespace hidlaudio::client {

/** Returns all faults and notes, one per line. */
inline std::string messagesOf(const Reading& reading) {
    std::string text;
    for (const auto* messages : {&reading.faults, &reading.notes}) {
        for (const std::string& message : *messages) text += message + "\n";
    }
    return text;
}

inline Reading import(const std::string& text, const TextOptions& options = {},
                      BeyondLimit beyond = BeyondLimit::Refuse) {
    return importCalibration(text, options, beyond);
}

}  // namespace hidlaudio::client
