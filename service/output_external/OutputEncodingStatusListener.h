// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <com/tovi/dtv/hardware/audio/3.1/IOutputEncodingStatusListener.h>

namespace com::tovi::dtv::hardware::audio::V3_1::implementation {

using ::android::hardware::hidl_handle;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;

/** The listener that other components of the TV may notify. It only logs each notice. Any thread. */
class OutputEncodingStatusListener : public IOutputEncodingStatusListener {
  public:
    Return<void> onForceEncodingChanged(bool enabled) override;
    Return<void> onEncodingFormatChanged(const hidl_string& format) override;
    Return<void> debug(const hidl_handle& fd, const hidl_vec<hidl_string>& options) override;
};

}  // namespace com::tovi::dtv::hardware::audio::V3_1::implementation
