// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <com/tovi/dtv/hardware/audio/6.1/IOutputSpeaker.h>

namespace com::tovi::dtv::hardware::audio::V6_1::implementation {

using ::android::hardware::hidl_handle;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;
using V2_0::SurroundType;
using V3_1::TvPositionType;

/**
 * The TV's own speakers. The middleware's configuration store keeps the position of the TV; the service
 * reports it to the audio HAL. The state (HAL device, last position) belongs to the process, not to the
 * object. The interface describes the methods. Any thread.
 */
class OutputSpeaker : public IOutputSpeaker {
  public:
    /**
     * Waits for the TV platform service, opens the middleware and the audio HAL, and reports
     * the position of the TV to the HAL. May block for 20 s, longer if the HAL is declared but
     * not registered. Failures are logged. If the HAL cannot be opened, the service works
     * without it until the next start. Main thread.
     */
    OutputSpeaker();

    Return<SurroundType> getSurroundType() override;
    Return<TvPositionType> getTvPosition() override;
    Return<int32_t> setTvPosition(int32_t type) override;
    Return<float> getDelay() override;
    Return<void> debug(const hidl_handle& fd, const hidl_vec<hidl_string>& options) override;
};

}  // namespace com::tovi::dtv::hardware::audio::V6_1::implementation
