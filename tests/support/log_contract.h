// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <errno.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "host/kernel/clock/clock.h"
#include "host/kernel/faults/faults.h"
#include "log_text.h"
#include "private_tv.h"

namespace hidlaudio::test {

using Action = std::function<void()>;
using Lines = std::vector<std::string>;

/** An action and all messages that it must log, in the form of takeText(). */
struct LoggedAction {
    Action action;
    Lines lines;
};

/** Runs the actions in order and checks what each logs. */
inline void expectLog(host::LogCapture& log, const std::string& tag, const std::vector<LoggedAction>& rows) {
    for (const LoggedAction& row : rows) {
        log.take();
        row.action();
        EXPECT_EQ(takeText(log, tag), row.lines);
    }
}

/** Returns `action` with the next calls of a middleware function failing with -6. */
inline Action refusing(const std::string& function, const Action& action, int calls = 1) {
    return [function, action, calls] {
        makeFile(host::tvRoot() + "/soc/faults/" + function, "-6 " + std::to_string(calls));
        action();
    };
}

/** Returns `action` with the n-th call of a system function failing with EIO. */
inline Action failing(const std::string& call, unsigned nth, const Action& action) {
    return [call, nth, action] {
        const host::ScopedFault fault({call, nth, EIO});
        action();
    };
}

/** Returns `action` with sleeps that end at once. */
inline Action sleepless(const Action& action) {
    return [action] {
        const host::SteppedClock clock;
        action();
    };
}

/** Returns `action` without a file of the TV, with sleeps that end at once. */
inline Action without(const std::string& file, const Action& action) {
    return [file, action = sleepless(action)] {
        const std::string path = host::tvRoot() + "/" + file, content = contentOf(path);
        std::filesystem::remove(path);
        action();
        makeFile(path, content);
    };
}

constexpr char kReadyMarker[] = "data/vendor/tmp/dtv_svc_is_ready";

/** Returns `before`, the lines of a wait that times out, and `after`. */
inline Lines waitingLines(Lines before, const std::string& text, int tries, const Lines& after) {
    for (int i = 0; i < tries; ++i) before.push_back(text + std::to_string(i));
    before.insert(before.end(), after.begin(), after.end());
    return before;
}

}  // namespace hidlaudio::test
