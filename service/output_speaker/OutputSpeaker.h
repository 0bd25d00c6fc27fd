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
 * The TV's own speakers. The position of the TV lives in the middleware's
 * configuration store; the audio HAL is told of it. The object holds nothing but the
 * process's way to the HAL. The interface describes the methods. Any thread.
 */
class OutputSpeaker : public IOutputSpeaker {
  public:
    /**
     * Waits for the TV platform service, opens the middleware and tells the audio HAL
     * where the TV stands. May block for 20 s; what goes wrong is logged. Without a HAL
     * now there is none until the next start. Main thread.
     */
    OutputSpeaker();

    Return<SurroundType> getSurroundType() override;
    Return<TvPositionType> getTvPosition() override;
    Return<int32_t> setTvPosition(int32_t type) override;
    Return<float> getDelay() override;
    Return<void> debug(const hidl_handle& fd, const hidl_vec<hidl_string>& options) override;
};

}  // namespace com::tovi::dtv::hardware::audio::V6_1::implementation
