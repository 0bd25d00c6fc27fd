// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

namespace com::tovi::dtv::hardware::audio::platform {

/** Who opens the middleware: the constructor of a service, or a routine before it uses the vendor's drivers.
 */
enum class MiddlewareUser {
    HdmiAudio,
    OutputExternal,
    OutputSpeaker,
    CenterSpeaker,
    IsBeModel,
    IsBeModelForHV,
    CheckBeCtrlBoot,
    SetCalibratedDataToBeCtrl,
    CheckBeCtrlBootForHV,
    SetEnabledToBeCtrl,
};

/**
 * Opens the middleware's connection in the way that `user` needs it (with the
 * playback control, with the driver layer, or by itself) and logs the outcome in its
 * words. Each user opens for itself, as often as it needs: the middleware counts on
 * no closing. Any thread.
 *
 * @return the middleware's status, 0 for success
 */
int32_t openMiddleware(MiddlewareUser user);

}  // namespace com::tovi::dtv::hardware::audio::platform
