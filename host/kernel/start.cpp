// SPDX-License-Identifier: Apache-2.0
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <string>

#include "host/kernel/clock/clock.h"
#include "host/kernel/faults/faults.h"
#include "host/program/parse_number.h"
#include "host/program/standard_streams.h"
#include "host/tv_files/call_record.h"
#include "log.h"

namespace hidlaudio::host {
namespace {

constexpr char kClockVariable[] = "HIDLAUDIO_CLOCK";
constexpr char kFaultVariable[] = "HIDLAUDIO_FAULT";

std::string environment(const char* name) {
    const char* value = getenv(name);
    return value != nullptr ? value : "";
}

[[noreturn]] void refuse(const std::string& message) {
    dprintf(STDERR_FILENO, "%s\n", message.c_str());
    _exit(2);
}

}  // namespace

/** Runs before the program's own constructors, because those may log and sleep. */
extern "C" __attribute__((constructor(101))) void hidlaudio_host_kernel_start() {
    openMissingStandardDescriptors();
    startLog();
    const std::string speed = environment(kClockVariable);
    if (!speed.empty() && !setClockSpeed(parseNumber<unsigned>(speed).value_or(0))) {
        refuse(std::string(kClockVariable) + "=" + speed +
               ": the speed of time must be a whole number from 1 to " + std::to_string(kFastestClock));
    }
    if (const int error = callRecordError(); error != 0)
        refuse(std::string(kCallsVariable) + "=" + environment(kCallsVariable) + ": " + strerror(error));
    const std::string wrong = injectFaults(environment(kFaultVariable));
    if (!wrong.empty()) refuse(std::string(kFaultVariable) + ": " + wrong);
}

}  // namespace hidlaudio::host
