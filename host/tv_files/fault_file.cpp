// SPDX-License-Identifier: Apache-2.0
#include "fault_file.h"

#include <android-base/strings.h>
#include <errno.h>
#include <signal.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <vector>

#include "folder_lock.h"
#include "host/program/split_text.h"
#include "value_file.h"

namespace hidlaudio::host {
namespace {

using android::base::StartsWith;

constexpr std::string_view kDelay = "delay=";
constexpr std::string_view kDies = "dies";
constexpr std::string_view kShort = "short=";
constexpr int kLastErrno = 133;

using KindParser = bool (*)(const std::string& word, FaultSetting& fault);

/** Parses the first word of a function's fault. Returns false if it is invalid. */
bool parseFunctionKind(const std::string& word, FaultSetting& fault) {
    const bool delays = StartsWith(word, kDelay);
    if (word == kDies) fault.kind = FaultKind::Dies;
    if (delays) fault.kind = FaultKind::Delays;
    if (fault.kind == FaultKind::Dies) return true;
    const std::optional<int32_t> number = parseInt32(delays ? word.substr(kDelay.size()) : word);
    (delays ? fault.delay : fault.status) = number.value_or(0);
    return number && fault.delay >= 0;
}

/** Returns the errno with this number or name, or 0 if there is none. */
int32_t parseErrno(const std::string& word) {
    if (const std::optional<int32_t> number = parseInt32(word)) return *number;
    for (int number = 1; number <= kLastErrno; ++number) {
        if (errnoName(number) == word) return number;
    }
    return 0;
}

/** Parses the first word of a system call's fault. Returns false if it is invalid. */
bool parseCallKind(const std::string& word, FaultSetting& fault) {
    if (word == kDies || StartsWith(word, kDelay))
        return parseFunctionKind(word, fault) && (word == kDies || fault.delay > 0);
    const bool shortens = StartsWith(word, kShort);
    fault.kind = shortens ? FaultKind::Shortens : FaultKind::Fails;
    fault.status = shortens ? 0 : parseErrno(word);
    fault.bytes = shortens ? parseInt32(word.substr(kShort.size())).value_or(-1) : 0;
    return shortens ? fault.bytes >= 0 : fault.status > 0;
}

std::optional<FaultSetting> parseWords(std::string_view text, KindParser parseKind) {
    const std::vector<std::string> words = splitWords(text);
    FaultSetting fault;
    if (words.empty() || words.size() > 3 || !parseKind(words[0], fault)) return std::nullopt;
    if (words.size() == 1) return fault;
    const std::optional<int32_t> count = parseInt32(words[1]);
    const std::optional<int32_t> pass = parseInt32(words.size() == 3 ? words[2] : "0");
    if (!count || !pass || *count < 1 || *pass < 0) return std::nullopt;
    fault.count = *count;
    fault.pass = *pass;
    return fault;
}

/** Writes the fault's remaining counts, or deletes its file after the last use. Returns 0 or an errno. */
int consumeOnce(const std::string& path, FaultSetting fault) {
    if (fault.count == 0) return 0;
    if (fault.pass > 0) {
        --fault.pass;
    } else if (fault.count == 1) {
        return unlink(path.c_str()) == 0 ? 0 : errno;
    } else {
        --fault.count;
    }
    return writeValueFile(path, formatFault(fault));
}

/** Reads the fault and consumes one use. `fault` stays empty if there is no file or the call passes. */
int readFault(const std::string& folder, const std::string& path, FaultParser parse,
              std::optional<FaultSetting>& fault) {
    const FolderLock lock(folder);
    if (lock.error() != 0) return lock.error();
    std::string text;
    const int error = readValueFile(path, text);
    if (error != 0) return error == ENOENT ? 0 : error;
    fault = parse(text);
    if (!fault) return EINVAL;
    const int used = consumeOnce(path, *fault);
    if (fault->pass > 0) fault.reset();
    return used;
}

/** Sleeps in the TV's time. Reads HIDLAUDIO_CLOCK, as the clock of host_kernel is not available here. */
void sleepFor(int32_t milliseconds) {
    const char* const text = getenv("HIDLAUDIO_CLOCK");
    const int32_t speed = std::max(1, parseInt32(text != nullptr ? text : "").value_or(1));
    const int64_t nanoseconds = int64_t{milliseconds} * 1000000 / speed;
    timespec time{};
    time.tv_sec = static_cast<time_t>(nanoseconds / 1000000000);
    time.tv_nsec = static_cast<long>(nanoseconds % 1000000000);
    clock_nanosleep(CLOCK_MONOTONIC, 0, &time, nullptr);
}

}  // namespace

std::string errnoName(int error) {
    const char* name = strerrorname_np(error);
    return name != nullptr ? name : std::to_string(error);
}

std::string formatFault(const FaultSetting& fault) {
    std::string text = std::to_string(fault.status);
    if (fault.kind == FaultKind::Delays) text = std::string(kDelay) + std::to_string(fault.delay);
    if (fault.kind == FaultKind::Dies) text = kDies;
    if (fault.kind == FaultKind::Fails) text = errnoName(fault.status);
    if (fault.kind == FaultKind::Shortens) text = std::string(kShort) + std::to_string(fault.bytes);
    if (fault.count != 0) text += " " + std::to_string(fault.count);
    if (fault.pass != 0) text += " " + std::to_string(fault.pass);
    return text + "\n";
}

std::optional<FaultSetting> parseFault(std::string_view text) {
    return parseWords(text, parseFunctionKind);
}

std::optional<FaultSetting> parseCallFault(std::string_view text) {
    return parseWords(text, parseCallKind);
}

int takeFault(const std::string& folder, const std::string& function, FaultParser parse,
              std::optional<FaultSetting>& fault) {
    fault.reset();
    const std::string path = folder + "/" + function;
    if (access(path.c_str(), F_OK) != 0 && errno == ENOENT) return 0;
    return readFault(folder, path, parse, fault);
}

int injectFault(const std::string& folder, const std::string& function, std::optional<int32_t>& status) {
    status.reset();
    std::optional<FaultSetting> fault;
    const int error = takeFault(folder, function, parseFault, fault);
    if (error != 0 || !fault) return error;
    if (fault->kind == FaultKind::Returns) status = fault->status;
    if (fault->kind == FaultKind::Delays) sleepFor(fault->delay);
    if (fault->kind == FaultKind::Dies) kill(getpid(), SIGKILL);
    return 0;
}

}  // namespace hidlaudio::host
