// SPDX-License-Identifier: Apache-2.0
#include "log_filter.h"

#include <android/log.h>

#include "report.h"

namespace hidlaudio::client {
namespace {

void logErrors(const __android_logger_data* data, const char* message) {
    if (data->priority >= ANDROID_LOG_ERROR) note(message);
}

}  // namespace

void showOnlyErrorsOfLog() {
    __android_log_set_logger(logErrors);
}

}  // namespace hidlaudio::client
