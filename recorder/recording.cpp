// SPDX-License-Identifier: Apache-2.0
#define LOG_TAG "HidlRecorder"

#include "recording.h"

#include <errno.h>
#include <fcntl.h>
#include <log/log.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <string_view>

#include "text.h"
#include "utf8.h"

namespace hidlaudio::recorder {
namespace {

constexpr int64_t kCheckInterval = 200'000'000;  // nanoseconds

/** Version of the format. Readers refuse a newer one. */
constexpr int64_t kFormat = 1;

/** Returns the file name of the program that this process runs, even if the file was replaced since. */
std::string ownProgram() {
    constexpr std::string_view kReplaced = " (deleted)";  // added by the kernel
    char path[4096];
    const ssize_t size = readlink("/proc/self/exe", path, sizeof(path));
    std::string_view text(path, size > 0 ? static_cast<size_t>(size) : 0);
    if (text.size() > kReplaced.size() && text.substr(text.size() - kReplaced.size()) == kReplaced)
        text.remove_suffix(kReplaced.size());
    return std::string(text.substr(text.rfind('/') + 1));
}

std::string dateNow() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    tm date{};
    gmtime_r(&now.tv_sec, &date);
    char text[40];
    const size_t size = strftime(text, sizeof(text), "%Y-%m-%dT%H:%M:%S", &date);
    snprintf(text + size, sizeof(text) - size, ".%06ldZ", now.tv_nsec / 1000);
    return text;
}

std::string startLine(const std::string& program) {
    Text line;
    line.beginLine("start");
    line.key("time"), line.seconds(nanosecondsNow());
    line.key("date"), line.string(dateNow());
    line.key("process"), line.number(getpid());
    line.key("program"), line.string(program);
    line.key("format"), line.number(kFormat);
    line.endLine();
    return line.text();
}

/** Returns the name of the program that another process runs, or "" if it must not be read. */
std::string programOf(pid_t process) {
    char name[64];
    snprintf(name, sizeof(name), "/proc/%d/comm", process);
    const int file = open(name, O_RDONLY | O_CLOEXEC);
    const ssize_t size = file >= 0 ? read(file, name, sizeof(name)) : -1;
    if (file >= 0) close(file);
    return size > 0 ? std::string(name, static_cast<size_t>(size) - 1) : "";
}

std::string processLine(pid_t process, int64_t time) {
    Text line;
    line.beginLine("process");
    line.key("time"), line.seconds(time);
    line.key("process"), line.number(process);
    const std::string program = programOf(process);
    if (!program.empty()) line.key("program"), line.string(program);
    line.endLine();
    return line.text();
}

std::string noteLine(std::string note) {
    // The name of the file may be in another encoding.
    if (!isUtf8(note))
        std::replace_if(note.begin(), note.end(), [](unsigned char c) { return c >= 0x80; }, '?');
    Text line;
    line.beginLine("note");
    line.key("time"), line.seconds(nanosecondsNow());
    line.key("text"), line.string(note);
    line.endLine();
    return line.text();
}

/** Opens the record when the process loads the recorder, so that a reader sees that it is recorded. */
__attribute__((constructor)) void startRecording() {
    Recording::self().current(nanosecondsNow());
}

}  // namespace

int64_t nanosecondsNow() {
    timespec now{};
    clock_gettime(CLOCK_BOOTTIME, &now);
    return static_cast<int64_t>(now.tv_sec) * 1'000'000'000 + now.tv_nsec;
}

Recording& Recording::self() {
    static auto& recording = *new Recording;
    return recording;
}

unsigned Recording::current(int64_t now) {
    int64_t due = nextCheck_.load(std::memory_order_relaxed);
    if (now >= due && nextCheck_.compare_exchange_strong(due, now + kCheckInterval)) followSettings();
    return current_.load(std::memory_order_acquire);
}

void Recording::followSettings() {
    const std::lock_guard<std::mutex> lock(mutex_);  // so that no thread applies older settings later
    const Settings settings = readSettings();
    if (settings == settings_ && (!lines_.isOpen() || lines_.isLinked())) return;
    current_ = 0;
    lines_.close();
    bytes_.close();
    clients_.clear();
    settings_ = settings;
    controller_ = settings.controller;
    if (settings_.isEnabled && settings_.program == ownProgram()) begin();
}

void Recording::begin() {
    const std::string bytesFile = settings_.file + kBytesSuffix;
    if (const int error = lines_.open(settings_.file, settings_.sizeLimit); error != 0)
        return end(error, settings_.file);
    if (const int error = settings_.keepsBytes ? bytes_.open(bytesFile, settings_.sizeLimit) : 0; error != 0)
        return end(error, bytesFile);
    const std::string line = startLine(settings_.program);
    if (lines_.append(line.data(), line.size()) < 0) return end(errno, settings_.file);
    current_ = ++count_;
}

/** Ends the record with a note until the settings change. */
void Recording::end(int error, const std::string& path) {
    const std::string note = "the record ends: " + path + ": " + strerror(error);
    ALOGW("%s", note.c_str());
    current_ = 0;
    const std::string line = noteLine(note);
    if (lines_.isOpen()) (void)lines_.append(line.data(), line.size(), true);
    lines_.close();
    bytes_.close();
}

void Recording::introduce(unsigned record, pid_t client, int64_t time) {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (record != current_ || !clients_.insert(client).second) return;
    }
    append(record, processLine(client, time));
}

void Recording::append(unsigned record, const std::string& line) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (record != current_) return;
    if (lines_.append(line.data(), line.size()) < 0) end(errno, settings_.file);
}

int64_t Recording::store(unsigned record, const uint8_t* data, size_t size) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (record != current_ || !bytes_.isOpen()) return -1;
    const int64_t offset = bytes_.append(data, size);
    if (offset < 0) end(errno, settings_.file + kBytesSuffix);
    return offset;
}

}  // namespace hidlaudio::recorder
