// SPDX-License-Identifier: Apache-2.0
#include "log.h"

#include <android/log.h>
#include <log/logprint.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

#include <utility>

#include "host/kernel/calls/real_calls.h"

namespace hidlaudio::host {
namespace {

std::mutex& captureMutex() {
    static auto& mutex = *new std::mutex;
    return mutex;
}

LogCapture* innermostCapture = nullptr;

AndroidLogFormat* threadtimeFormat() {
    static AndroidLogFormat* const format = [] {
        AndroidLogFormat* made = android_log_format_new();
        android_log_setPrintFormat(made, FORMAT_THREADTIME);
        return made;
    }();
    return format;
}

AndroidLogEntry entryNow(int priority, const char* tag, const char* message) {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    AndroidLogEntry entry{};
    entry.tv_sec = now.tv_sec;
    entry.tv_nsec = now.tv_nsec;
    entry.priority = static_cast<android_LogPriority>(priority);
    entry.uid = -1;
    entry.pid = getpid();
    entry.tid = gettid();
    entry.tag = tag;
    entry.tagLen = strlen(tag);
    entry.message = message;
    entry.messageLen = strlen(message);
    return entry;
}

void print(int priority, const char* tag, const char* message) {
    const AndroidLogEntry entry = entryNow(priority, tag, message);
    char onStack[1024];
    size_t length = 0;
    char* text = android_log_formatLogLine(threadtimeFormat(), onStack, sizeof(onStack), &entry, &length);
    if (text == nullptr) return;
    // A failed write to the log is ignored.
    [[maybe_unused]] const ssize_t written = __real_write(STDERR_FILENO, text, length);
    if (text != onStack) free(text);
}

void logMessage(int priority, const char* tag, const char* message) {
    {
        const std::lock_guard lock(captureMutex());
        if (innermostCapture != nullptr) {
            innermostCapture->add({priority, tag, message});
            return;
        }
    }
    print(priority, tag, message);
}

}  // namespace

void startLog() {
    __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
    // Old versions of liblog pass the text as an argument, new versions in the record.
    __android_log_set_logger([](const auto* record, auto... text) {
        if constexpr (sizeof...(text) == 0) {
            logMessage(record->priority, record->tag, record->message);
        } else {
            logMessage(record->priority, record->tag, text...);
        }
    });
}

LogCapture::LogCapture() {
    const std::lock_guard lock(captureMutex());
    outer_ = std::exchange(innermostCapture, this);
}

LogCapture::~LogCapture() {
    const std::lock_guard lock(captureMutex());
    innermostCapture = outer_;
}

std::vector<LogLine> LogCapture::lines() const {
    const std::lock_guard lock(mutex_);
    return lines_;
}

std::vector<LogLine> LogCapture::take() {
    const std::lock_guard lock(mutex_);
    return std::exchange(lines_, {});
}

void LogCapture::add(LogLine line) {
    const std::lock_guard lock(mutex_);
    lines_.push_back(std::move(line));
}

}  // namespace hidlaudio::host
