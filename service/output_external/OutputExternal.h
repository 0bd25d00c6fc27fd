// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <com/tovi/dtv/hardware/audio/3.1/IOutputExternal.h>

namespace com::tovi::dtv::hardware::audio::V3_1::implementation {

using ::android::sp;
using ::android::hardware::hidl_handle;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;

/**
 * The external audio output. The object holds no state: the middleware's configuration store keeps the
 * switch, and a file keeps a copy for the next start. The interface describes the methods. Any thread.
 */
class OutputExternal : public IOutputExternal {
  public:
    /**
     * Waits for the TV platform service, opens the middleware and sets it to the mode
     * of the file. May block for 20 s; failures are logged. Main thread.
     */
    OutputExternal();

    Return<int32_t> setForceEncodingEnabled(bool enable) override;
    Return<bool> getForceEncodingEnabled() override;
    Return<int32_t> setEncodingFormat(const hidl_string& format) override;
    Return<void> getEncodingFormat(getEncodingFormat_cb _hidl_cb) override;
    Return<void> getAvailableEncodingFormats(getAvailableEncodingFormats_cb _hidl_cb) override;
    Return<int32_t> registerEncodingFormatListener(
        const sp<V2_0::IOutputEncodingStatusListener>& listener) override;
    Return<int32_t> unregisterEncodingFormatListener(
        const sp<V2_0::IOutputEncodingStatusListener>& listener) override;
    Return<void> debug(const hidl_handle& fd, const hidl_vec<hidl_string>& options) override;
};

}  // namespace com::tovi::dtv::hardware::audio::V3_1::implementation
