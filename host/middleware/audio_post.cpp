// SPDX-License-Identifier: Apache-2.0
#include <log/log.h>

#include <algorithm>
#include <iterator>

#include "injected_fault.h"
#include "number_file.h"
#include "platform/soc_middleware.h"
#include "session.h"
#include "status.h"

namespace hidlaudio::host {
namespace {

constexpr uint32_t kReady = 0x42;

bool isValid(const MTAUDPOST_Request& request) {
    if (request.parameter == kReady && request.count == 1 && request.answer != nullptr &&
        std::all_of(std::begin(request.reserved), std::end(request.reserved),
                    [](uint8_t byte) { return byte == 0; })) {
        return true;
    }
    ALOGE(
        "MTAUDPOST_GetParameters: parameter 0x%x, count %u: only 0x%x can be asked for, with "
        "one answer word and the rest zero",
        request.parameter, request.count, kReady);
    return false;
}

}  // namespace

extern "C" {

int32_t MTAUDPOST_GetParameters(MTAUDPOST_Request request) {
    if (!isValid(request)) return kBadArgument;
    if (const auto status = injectedStatus("MTAUDPOST_GetParameters")) {
        *request.answer = kGarbage;
        return *status;
    }
    return isConnected() ? readNumber("/soc/audio_post/ready", *request.answer) : kNoConnection;
}

}  // extern "C"

}  // namespace hidlaudio::host
