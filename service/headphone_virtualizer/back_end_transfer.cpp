// SPDX-License-Identifier: Apache-2.0
#include "back_end_transfer.h"

#include <android-base/unique_fd.h>
#include <fcntl.h>
#include <unistd.h>

#include "log_tag.h"
#include "platform/log.h"

namespace com::tovi::dtv::hardware::audio::headphone_virtualizer {
namespace {

using platform::logError;
constexpr char kDevice[] = "/dev/tovi_bectrl";
constexpr int32_t kUnreachable = -5;

/** Sends one request to the driver. `function` is the function name printed in the log. */
int32_t request(const char* function, uint32_t code, void* argument) {
    const ::android::base::unique_fd fd(open(kDevice, O_RDWR | O_CLOEXEC));
    if (!fd.ok()) {
        logError(kLogTag, "[%s] bectrl device file open failed! : (%d)", function, kUnreachable);
        return kUnreachable;
    }
    const int status = ioctl(fd.get(), code, argument);
    if (status == 0) return 0;
    logError(kLogTag, "[%s] ioctl() failed! : (%d)", function, status);
    return kUnreachable;
}

}  // namespace

int32_t setParametersToBeCtrl(uint32_t code, const uint8_t* data, uint32_t count) {
    bectrl_param_transfer_arg argument{};
    argument.count = count;
    argument.address = reinterpret_cast<uintptr_t>(data);
    return request(__func__, code, &argument);
}

int32_t notifyCancelToBeCtrl(uint32_t code) {
    return request(__func__, code, nullptr);
}

}  // namespace com::tovi::dtv::hardware::audio::headphone_virtualizer
