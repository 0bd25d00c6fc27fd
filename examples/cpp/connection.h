// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <com/tovi/dtv/hardware/audio/3.1/IHdmiAudio.h>
#include <com/tovi/dtv/hardware/audio/5.1/IHeadphoneVirtualizer.h>

#include "events.h"

namespace audio = com::tovi::dtv::hardware::audio;

/** The services that the app uses. Both are of one process, so they are connected and lost together. */
struct Connection {
    android::sp<audio::V3_1::IHdmiAudio> hdmi;
    android::sp<audio::V5_1::IHeadphoneVirtualizer> virtualizer;
    uint64_t link = 0;  // differs for each connection
    // Receives callbacks and death notices. A death link holds its recipient only weakly.
    android::sp<android::RefBase> listener;
};

/**
 * Waits until the services are registered, links to their death and registers the HDMI callback. Repeats that
 * if they die meanwhile. Returns a connection without services if the TV does not declare them.
 *
 * @param number smallest number that the connection may get; its events contain the number
 */
Connection connect(const android::sp<Events>& events, uint64_t number);
