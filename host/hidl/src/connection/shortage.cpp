// SPDX-License-Identifier: Apache-2.0
#define LOG_TAG "HidlTransport"

#include "shortage.h"

#include <log/log.h>
#include <string.h>

#include <utility>

namespace android::hardware::transport {
namespace {

thread_local int tShortage = 0;

}  // namespace

void noteShortage(const char* what, int error) {
    if (!isShortage(error)) return;
    ALOGE("%s: %s", what, strerror(error));
    tShortage = error;
}

int takeShortage() {
    return -std::exchange(tShortage, 0);
}

}  // namespace android::hardware::transport
