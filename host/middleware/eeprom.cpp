// SPDX-License-Identifier: Apache-2.0
#include <android-base/unique_fd.h>
#include <errno.h>
#include <fcntl.h>
#include <log/log.h>
#include <string.h>
#include <unistd.h>

#include <atomic>
#include <string>

#include "host/tv_files/regular_file.h"
#include "host/tv_files/tv_root.h"
#include "injected_fault.h"
#include "platform/soc_middleware.h"
#include "session.h"
#include "status.h"

namespace hidlaudio::host {
namespace {

using android::base::unique_fd;

/** Steps that this process has completed. Each step fails before the previous one is done. */
std::atomic<bool> propertyAsked{false};
std::atomic<bool> ready{false};

int32_t mistake(const char* text) {
    ALOGE("%s", text);
    return kBadArgument;
}

/** Reads exactly `length` bytes. Returns 0 or an errno: ENODATA if the image is too short. */
int readImage(const std::string& path, uint32_t address, void* destination, uint32_t length) {
    const unique_fd fd(openRegularFile(path, O_RDONLY));
    if (!fd.ok()) return errno;
    const ssize_t bytes =
        TEMP_FAILURE_RETRY(pread(fd.get(), destination, length, static_cast<off_t>(address)));
    if (bytes < 0) return errno;
    return static_cast<size_t>(bytes) == length ? 0 : ENODATA;
}

}  // namespace

extern "C" {

int32_t MTEEPROM_GetProperty(MTEEPROM_Property* property) {
    if (property == nullptr) return mistake("MTEEPROM_GetProperty: there must be a destination");
    propertyAsked = true;
    *property = {};
    if (const auto status = injectedStatus("MTEEPROM_GetProperty")) return *status;
    return isConnected() ? kDone : kNoConnection;
}

int32_t MTEEPROM_Init(void) {
    if (!propertyAsked) return mistake("MTEEPROM_Init: MTEEPROM_GetProperty must come first");
    if (const auto status = injectedStatus("MTEEPROM_Init")) return *status;
    if (!isConnected()) return kNoConnection;
    ready = true;
    return kDone;
}

int32_t MTEEPROM_Read(uint32_t address, void* destination, uint32_t length) {
    if (destination == nullptr) return mistake("MTEEPROM_Read: there must be a destination");
    if (const auto status = injectedStatus("MTEEPROM_Read", std::to_string(address).c_str())) {
        memset(destination, static_cast<uint8_t>(kGarbage), length);
        return *status;
    }
    if (!ready) return mistake("MTEEPROM_Read: MTEEPROM_Init must come first");
    const std::string path = tvRoot() + "/soc/eeprom.bin";
    const int error = readImage(path, address, destination, length);
    if (error == 0) return kDone;
    ALOGE("%s cannot be read at address 0x%X: %s", path.c_str(), address,
          error == ENODATA ? "it ends before" : strerror(error));
    return kFailed;
}

}  // extern "C"

}  // namespace hidlaudio::host
