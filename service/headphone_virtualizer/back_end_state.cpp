// SPDX-License-Identifier: Apache-2.0
#include "back_end_state.h"

#include <errno.h>
#include <stdio.h>

#include <algorithm>
#include <iterator>

#include "log_tag.h"
#include "platform/log.h"

namespace com::tovi::dtv::hardware::audio::headphone_virtualizer {
namespace {

using platform::logWarning;
constexpr int32_t kUnreadable = -5;

struct Meaning {
    uint8_t result;
    int32_t code;
};

constexpr Meaning kMeanings[] = {{0x00, -3}, {0x01, 0}, {0x02, -3}, {0x03, 1}, {0xF3, -1}, {0xF4, -1}};
constexpr int32_t kUnknownResult = -2;

}  // namespace

int32_t readBeCtrlTransferState(const char* path, BeCtrlTransferState& state) {
    FILE* const file = fopen(path, "re");
    if (file == nullptr) {
        logWarning(kLogTag, "[%s] Proc file open failed!", __func__);
        return kUnreadable;
    }
    uint8_t bytes[sizeof(state)];
    errno = 0;  // reading a short file does not set errno
    const bool complete = fread(bytes, 1, sizeof(bytes), file) == sizeof(bytes);
    if (complete) {
        state = {static_cast<int8_t>(bytes[0]), bytes[1]};
    } else {
        logWarning(kLogTag, "[%s] fread proc file failed! errno:%d", __func__, errno);
    }
    fclose(file);
    return complete ? 0 : kUnreadable;
}

int32_t summarizeTransferResult(uint8_t result) {
    const Meaning* const known = std::find_if(std::begin(kMeanings), std::end(kMeanings),
                                              [result](const Meaning& m) { return m.result == result; });
    return known != std::end(kMeanings) ? known->code : kUnknownResult;
}

}  // namespace com::tovi::dtv::hardware::audio::headphone_virtualizer
