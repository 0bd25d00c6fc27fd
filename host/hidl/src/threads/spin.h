// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "host/hidl/src/connection/channel.h"

namespace android::hardware::transport {

/**
 * How long a thread looks for the next message before it sleeps. A processor that
 * was put to sleep needs some fifty microseconds to wake, ten times what a small
 * call takes.
 */
constexpr int64_t kSpinNanoseconds = 50'000;

/** For a message's header: the processor on which this thread runs. */
uint16_t ownProcessor();

/** The sender of the message that this thread received last ran there. */
void noteSender(uint16_t processor);

/**
 * Whether looking makes sense: the last sender ran on another processor. One that
 * shares this thread's processor answers only once this thread sleeps.
 */
bool maySpin();

/** Monotonic time in nanoseconds. */
int64_t nowNanoseconds();

/** Channel::receive that waits, after a bounded while of looking. */
Channel::Received receiveSpinning(Channel& channel, IncomingMessage* message);

}  // namespace android::hardware::transport
