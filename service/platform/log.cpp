// SPDX-License-Identifier: Apache-2.0
#include "log.h"

#include <android/log.h>
#include <stdarg.h>

namespace com::tovi::dtv::hardware::audio::platform {

void logDebug(const char* tag, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    __android_log_vprint(ANDROID_LOG_DEBUG, tag, format, arguments);
    va_end(arguments);
}

void logInfo(const char* tag, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    __android_log_vprint(ANDROID_LOG_INFO, tag, format, arguments);
    va_end(arguments);
}

void logWarning(const char* tag, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    __android_log_vprint(ANDROID_LOG_WARN, tag, format, arguments);
    va_end(arguments);
}

void logError(const char* tag, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    __android_log_vprint(ANDROID_LOG_ERROR, tag, format, arguments);
    va_end(arguments);
}

}  // namespace com::tovi::dtv::hardware::audio::platform
