// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

namespace com::tovi::dtv::hardware::audio::platform {

/** Parts of the middleware that a session opens. */
enum class MiddlewareSession { ConnectionOnly, PlaybackControl, Drivers };

/** How a caller opens the middleware, and its log messages. A message that is null is not logged. */
struct MiddlewareOpening {
    MiddlewareSession session;
    const char* tag;
    const char* failure;
    const char* failureEnd;  // follows the status; null if the status is not logged
    const char* success;
};

/**
 * Opens the middleware. Each caller opens it for itself, as often as it needs: the middleware
 * requires no closing. Any thread.
 *
 * @return the middleware's status, 0 for success
 */
int32_t openMiddleware(const MiddlewareOpening& opening);

}  // namespace com::tovi::dtv::hardware::audio::platform
