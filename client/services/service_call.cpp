// SPDX-License-Identifier: Apache-2.0
#include "service_call.h"

#include <math.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <sys/time.h>
#include <unistd.h>

#include "client/surroundings.h"
#include "host/program/standard_streams.h"

namespace hidlaudio::client {
namespace {

// Formatted before the timer starts: a signal handler must not call snprintf().
char expiredMessage[512];

void expire(int) {
    (void)!write(STDERR_FILENO, expiredMessage, strlen(expiredMessage));
    _exit(kTimedOut);
}

void setTimer(double seconds) {
    itimerval timer{};
    timer.it_value.tv_sec = static_cast<time_t>(seconds);
    timer.it_value.tv_usec = static_cast<suseconds_t>(fmod(seconds, 1) * 1e6);
    setitimer(ITIMER_REAL, &timer, nullptr);
}

void handleAlarms() {
    struct sigaction action{};
    action.sa_handler = expire;
    sigaction(SIGALRM, &action, nullptr);
    // The parent process may have blocked the signal.
    sigset_t alarm;
    sigemptyset(&alarm);
    sigaddset(&alarm, SIGALRM);
    sigprocmask(SIG_UNBLOCK, &alarm, nullptr);
}

}  // namespace

Deadline::Deadline(const Invocation& invocation, const std::string& service) {
    const double seconds = invocation.timeout.value_or(kAnswerSeconds);
    snprintf(expiredMessage, sizeof(expiredMessage), "audioctl: no answer from %.400s within %g s\n",
             service.c_str(), seconds);
    host::flushOutput();  // expire() discards buffered output
    handleAlarms();
    setTimer(seconds);
}

Deadline::~Deadline() {
    setTimer(0);
}

int noService(const std::string& service) {
    return fail(kNoService, service + " is not registered" + hintForMissingService());
}

int examine(const android::hardware::details::return_status& returned, const std::string& service) {
    if (returned.isOk()) return kDone;
    if (returned.isDeadObject()) return fail(kNoService, service + " ended during the call");
    return fail(kRefused, "the call to " + service + " failed: " + returned.description());
}

}  // namespace hidlaudio::client
