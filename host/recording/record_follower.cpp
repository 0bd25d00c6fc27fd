// SPDX-License-Identifier: Apache-2.0
#include "record_follower.h"

#include <stdio.h>

#include "host/program/standard_streams.h"

namespace hidlaudio::host {

bool RecordFollower::follow() {
    for (const std::string& text : tail_.takeLines()) {
        if (tasks_.prints) printf("%s\n", text.c_str());
        RecordLine line;
        if (!parseRecordLine(text, line).empty()) continue;
        if (line.event == RecordLine::Event::Call) ++calls_;
        if (line.event == RecordLine::Event::Note) note_ = line.text;
        if (tasks_.watches) watch_.see(line);
    }
    watch_.check();
    return !tasks_.prints || (flushOutput() && isOutputRead());
}

}  // namespace hidlaudio::host
