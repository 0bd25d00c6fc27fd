// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "host/kernel/log.h"

namespace hidlaudio::test {

/** Takes the captured messages as "D text", or "other: D text" if the tag `other` is not `tag`. */
inline std::vector<std::string> takeText(host::LogCapture& log, const std::string& tag) {
    std::vector<std::string> lines;
    for (const host::LogLine& line : log.take()) {
        lines.push_back((line.tag == tag ? "" : line.tag + ": ") + "??VDIWEF"[line.priority] + " " +
                        line.text);
    }
    return lines;
}

}  // namespace hidlaudio::test
