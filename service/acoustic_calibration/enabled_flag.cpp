// SPDX-License-Identifier: Apache-2.0
#include "enabled_flag.h"

#include <android-base/unique_fd.h>
#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <unistd.h>

#include "log_tag.h"
#include "platform/log.h"
#include "platform/retry_on_eintr.h"

namespace com::tovi::dtv::hardware::audio::acoustic_calibration {
namespace {

using ::android::base::unique_fd;
using platform::logDebug;
using platform::logError;
using platform::retryOnEintr;

constexpr mode_t kPermissions = 0600;
constexpr int32_t kFailed = -1;

unique_fd openFile(int flags) {
    return unique_fd(retryOnEintr([flags] { return open(kEnabledFile, flags | O_CLOEXEC, kPermissions); }));
}

/** Logs that a call failed. `verb` is its name, for example "read". Returns kFailed. */
int32_t fail(const char* function, const char* verb) {
    logError(kLogTag, "[%s] %s AcousticCalibration enabled data failed, errno %d", function, verb, errno);
    return kFailed;
}

/** Returns the byte, or kFailed. */
int32_t readByte(const char* function, const unique_fd& fd) {
    uint8_t byte = kCalibrationOff;
    errno = 0;  // reading an empty file does not set errno
    const bool whole = retryOnEintr([&] { return read(fd.get(), &byte, sizeof(byte)); }) == 1;
    return whole ? byte : fail(function, "read");
}

/** Returns 0, or kFailed. */
int32_t writeByte(const char* function, const unique_fd& fd, uint8_t byte) {
    errno = 0;  // a short write does not set errno
    if (retryOnEintr([&] { return write(fd.get(), &byte, sizeof(byte)); }) != 1)
        return fail(function, "write");
    retryOnEintr([&] { return fsync(fd.get()); });
    return 0;
}

}  // namespace

int32_t getEnabledOnBoot() {
    logDebug(kLogTag, "[%s] start", __func__);
    int32_t result = kFailed;
    if (const unique_fd fd = openFile(O_RDONLY); fd.ok()) {
        result = readByte(__func__, fd);
    } else {
        logError(kLogTag, "[%s] open error", __func__);
        const unique_fd made = openFile(O_RDWR | O_CREAT | O_TRUNC);
        if (!made.ok()) {
            logError(kLogTag, "[%s] open filed, %s failed, errno %d", __func__, kEnabledFile, errno);
            return kFailed;
        }
        result = writeByte(__func__, made, kCalibrationOff);
    }
    logDebug(kLogTag, "[%s] end Return: %d", __func__, result);
    return result;
}

bool readEnabledData(const char* function) {
    FILE* const file = fopen(kEnabledFile, "rbe");
    if (file == nullptr) {
        logError(kLogTag, "[%s] fopen error", function);
        return false;
    }
    uint8_t byte = kCalibrationOff;
    errno = 0;  // reading an empty file does not set errno
    const bool whole = fread(&byte, sizeof(byte), 1, file) == 1;
    if (!whole) fail(function, "fread");
    fclose(file);
    return whole && byte == kCalibrationOn;
}

int32_t setEnabledData(bool enable) {
    const unique_fd fd = openFile(O_WRONLY | O_CREAT | O_TRUNC);
    if (!fd.ok()) {
        logError(kLogTag, "[%s] open error", __func__);
        return kFailed;
    }
    return writeByte(__func__, fd, enable ? kCalibrationOn : kCalibrationOff);
}

}  // namespace com::tovi::dtv::hardware::audio::acoustic_calibration
