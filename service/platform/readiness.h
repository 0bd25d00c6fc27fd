// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

namespace com::tovi::dtv::hardware::audio::platform {

/**
 * The wait for the TV platform service (dtv_svc), which leaves a marker file once it
 * answers the middleware. Each wait blocks for some 20 s at most, not at all where
 * the marker is there, and logs in its caller's own words. Any thread, without a lock.
 */

/** The services whose constructor waits before it opens the middleware. */
enum class WaitingService { HdmiAudio, OutputExternal, OutputSpeaker, CenterSpeaker };

/** Whether the TV platform service is ready; false after the whole wait. */
bool waitForDtvSvc(WaitingService service);

/** The acoustic calibration's wait: 0 when ready, -1 after the whole wait. */
int32_t checkDtvSvcBoot();

/** The headphone virtualizer's wait: 0 when ready, -5 after the whole wait. */
int32_t checkDtvSvcBootForHV();

}  // namespace com::tovi::dtv::hardware::audio::platform
