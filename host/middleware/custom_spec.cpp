// SPDX-License-Identifier: Apache-2.0
#include "custom_spec.h"

#include <android-base/unique_fd.h>
#include <errno.h>
#include <fcntl.h>
#include <log/log.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <string>

#include "host/program/hex.h"
#include "host/tv_files/back_end_files.h"
#include "host/tv_files/regular_file.h"
#include "host/tv_files/tv_root.h"
#include "injected_fault.h"
#include "number_file.h"
#include "platform/soc_middleware.h"
#include "session.h"
#include "status.h"

namespace hidlaudio::host {
namespace {

using android::base::unique_fd;

constexpr uint32_t kSetIdentifier = 0x20185;
constexpr uint32_t kGetIdentifier = 0x20186;

bool isZero(const uint8_t* begin, const uint8_t* end) {
    return std::all_of(begin, end, [](uint8_t byte) { return byte == 0; });
}

/** Returns why the controller refuses the record, or `nullptr` if it is valid. */
const char* mistakeIn(const CustomSpecRecord& record, bool isSet) {
    for (const CustomSpecType& known : kCustomSpecTypes) {
        if (known.type != record.type) continue;
        if (known.isSet != isSet) return isSet ? "this type is read only" : "this type is written only";
        if (known.length != record.length) return "the payload's length is not that of the type";
        const bool clean = isZero(record.payload + record.length, std::end(record.payload)) &&
                           isZero(std::begin(record.tail), std::end(record.tail));
        return clean ? nullptr : "the record is not zero beyond its payload";
    }
    return "the controller knows no such type";
}

/** Checks the arguments of both calls and copies the record. Returns false after logging a mistake. */
bool isValidRequest(const char* function, bool isSet, uint32_t identifier, const void* record, uint32_t size,
                    CustomSpecRecord& copy) {
    const char* mistake = nullptr;
    if (identifier != (isSet ? kSetIdentifier : kGetIdentifier)) {
        mistake = "unknown identifier";
    } else if (record == nullptr || size != sizeof(CustomSpecRecord)) {
        mistake = "a record of 264 bytes is needed";
    } else {
        memcpy(&copy, record, sizeof(copy));
        mistake = mistakeIn(copy, isSet);
    }
    if (mistake == nullptr) return true;
    ALOGE("%s: identifier 0x%x, size %u, type %u, length %u: %s", function, identifier, size, copy.type,
          copy.length, mistake);
    return false;
}

int32_t failOn(const std::string& path, const char* why) {
    ALOGE("%s: %s", path.c_str(), why);
    return kFailed;
}

int32_t readBootState(uint8_t& state) {
    uint32_t number = 0;
    const int32_t status = readNumber(kBootStateFile, number);
    if (status != kDone) return status;
    if (number > UINT8_MAX) return failOn(tvRoot() + kBootStateFile, "must hold a number, 0 to 255");
    state = static_cast<uint8_t>(number);
    return kDone;
}

std::string describe(const CustomSpecRecord& record) {
    const std::string payload(std::begin(record.payload), record.payload + record.length);
    return std::to_string(record.type) + " " + std::to_string(record.length) + " " + toHex(payload) + "\n";
}

int32_t appendToLog(const CustomSpecRecord& record) {
    const std::string path = tvRoot() + kCustomSpecLog;
    const std::string line = describe(record);
    const unique_fd fd(openRegularFile(path, O_WRONLY | O_CREAT | O_APPEND));
    if (!fd.ok()) return failOn(path, strerror(errno));
    // A single write keeps lines of two processes from mixing.
    const ssize_t written = write(fd.get(), line.data(), line.size());
    const int error = written < 0 ? errno : ENOSPC;
    return written == static_cast<ssize_t>(line.size()) ? kDone : failOn(path, strerror(error));
}

}  // namespace

extern "C" {

int32_t MTDRVCUST_dcustom_cust_spec_get(uint32_t identifier, void* record, uint32_t* size) {
    constexpr char kFunction[] = "MTDRVCUST_dcustom_cust_spec_get";
    CustomSpecRecord request{};
    if (!isValidRequest(kFunction, false, identifier, record, size != nullptr ? *size : 0, request)) {
        return kBadArgument;
    }
    if (const auto status = injectedStatus(kFunction, std::to_string(request.type).c_str())) return *status;
    if (!isConnected()) return kNoConnection;
    const int32_t status = readBootState(request.payload[0]);
    if (status == kDone) memcpy(record, &request, sizeof(request));
    return status;
}

int32_t MTDRVCUST_dcustom_cust_spec_set(uint32_t identifier, const void* record, uint32_t size,
                                        uint32_t flags) {
    constexpr char kFunction[] = "MTDRVCUST_dcustom_cust_spec_set";
    CustomSpecRecord request{};
    if (!isValidRequest(kFunction, true, identifier, record, size, request)) return kBadArgument;
    if (flags != 0) {
        ALOGE("%s: the flags must be 0, not %u", kFunction, flags);
        return kBadArgument;
    }
    if (const auto status = injectedStatus(kFunction, std::to_string(request.type).c_str())) return *status;
    return isConnected() ? appendToLog(request) : kNoConnection;
}

}  // extern "C"

}  // namespace hidlaudio::host
