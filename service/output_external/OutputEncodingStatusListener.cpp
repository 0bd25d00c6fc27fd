// SPDX-License-Identifier: Apache-2.0
#include "OutputEncodingStatusListener.h"

#include "platform/log.h"
#include "platform/write_dump.h"

namespace com::tovi::dtv::hardware::audio::V3_1::implementation {
using ::android::hardware::Void;
using platform::kNoTag;
using platform::logDebug;

Return<void> OutputEncodingStatusListener::onForceEncodingChanged(bool /*enabled*/) {
    logDebug(kNoTag, "[%s] start", __func__);
    return Void();
}

Return<void> OutputEncodingStatusListener::onEncodingFormatChanged(const hidl_string& /*format*/) {
    logDebug(kNoTag, "[%s] start", __func__);
    return Void();
}

Return<void> OutputEncodingStatusListener::debug(const hidl_handle& fd,
                                                 const hidl_vec<hidl_string>& options) {
    platform::writeDump(fd, options, []() -> platform::ServiceState {
        return {"OutputEncodingStatusListener",
                {{"notices", {platform::text("what_becomes_of_them", "logged")}}}};
    });
    return Void();
}

}  // namespace com::tovi::dtv::hardware::audio::V3_1::implementation
