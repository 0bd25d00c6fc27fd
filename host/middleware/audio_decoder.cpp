// SPDX-License-Identifier: Apache-2.0
#include <android/log.h>
#include <string.h>

#include <string>

#include "host/root/tv_root.h"
#include "host/root/value_file.h"
#include "injected_fault.h"
#include "log.h"
#include "platform/soc_middleware.h"
#include "session.h"
#include "status.h"

namespace hidlaudio::host {
namespace {

/** What a call that was made to fail leaves in its destination. */
constexpr uint32_t kGarbage = 0x5A5A5A5A;

int32_t readReport(const char* name, uint32_t& value) {
    const std::string path = tvRoot() + "/soc/audio_decoder/" + name;
    std::string text;
    if (const int error = readValueFile(path, text); error != 0) {
        __android_log_print(ANDROID_LOG_ERROR, kLogTag, "%s cannot be read: %s", path.c_str(),
                            strerror(error));
        return kFailed;
    }
    const std::optional<uint32_t> number = parseUint32(text);
    if (!number) {
        __android_log_print(ANDROID_LOG_ERROR, kLogTag, "%s does not hold one unsigned 32-bit decimal number",
                            path.c_str());
        return kFailed;
    }
    value = *number;
    return kDone;
}

}  // namespace

extern "C" {

int32_t MTAUDDEC_GetChannelMainDelaySp(uint32_t* delay) {
    if (delay == nullptr) return kBadArgument;
    if (const auto status = injectedStatus("MTAUDDEC_GetChannelMainDelaySp")) {
        *delay = kGarbage;
        return *status;
    }
    return isConnected() ? readReport("channel_main_delay_sp", *delay) : kNoConnection;
}

}  // extern "C"

}  // namespace hidlaudio::host
