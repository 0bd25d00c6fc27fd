// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "host/hidl/src/connection/channel.h"

namespace android::hardware::transport {

/**
 * How long a thread polls for the next message before it sleeps. A sleeping processor needs about
 * 50 µs to wake up, ten times the duration of a small call.
 */
constexpr int64_t kSpinNanoseconds = 50'000;

/** Returns the number of the processor on which this thread runs, for a message header. */
uint16_t ownProcessor();

/** Stores the processor of the sender of the message that this thread received last. */
void noteSender(uint16_t processor);

/**
 * Returns whether polling makes sense: the last sender ran on another processor. A sender on this
 * thread's processor can only run while this thread sleeps.
 */
bool maySpin();

/** Returns the monotonic time in nanoseconds. */
int64_t nowNanoseconds();

/** Receives a message like Channel::receive(); polls for kSpinNanoseconds before it blocks. */
Channel::Received receiveSpinning(Channel& channel, IncomingMessage* message);

}  // namespace android::hardware::transport
