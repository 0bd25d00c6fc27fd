// SPDX-License-Identifier: Apache-2.0
#include <android-base/strings.h>

#include <filesystem>
#include <thread>

#include "host/program/split_text.h"
#include "host/tv_files/back_end_files.h"
#include "host/tv_files/tv_check.h"
#include "test_tv.h"

namespace hidlaudio::host {
namespace {

namespace fs = std::filesystem;

constexpr const char* kStateFolders[] = {kStoredFiles, "/soc/config", "/soc/audio_decoder", "/soc/bectrl",
                                         "/bectrl",    "/proc",       "/hal/parameters",    "/power"};

/** False if a sanitizer or an emulator allocates memory of its own in each process. */
constexpr bool kMeasuresMemory = HIDLAUDIO_OWN_MEMORY != 0;

long entriesOf(const std::string& folder) {
    std::error_code error;
    long count = 0;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error))
        ++count;
    return count;
}

/** Returns the number of a field in /proc/<pid>/status, or 0 if the field is missing. */
long fieldOf(const std::string& status, const std::string& field) {
    for (const std::string& line : splitLines(contentOf(status))) {
        if (android::base::StartsWith(line, field)) return std::stol(line.substr(field.size()));
    }
    return 0;
}

/** Accepts records of 140 bytes, a marker of 4 bytes and an end of 4 bytes. The last two may be truncated. */
bool isCalibration(const std::string& content, bool mayBeTruncated) {
    constexpr size_t kRecord = 140;
    static const std::string kTail("\1\0\0\0\0\0\0\0", 8);
    const size_t rest = content.size() % kRecord;
    if (mayBeTruncated && rest < kTail.size()) return true;
    return rest == kTail.size() && android::base::EndsWith(content, kTail);
}

/** A persisted file of the daemon and the rule for its content. */
struct Persisted {
    const char* name;
    const char* rule;
    bool (*isValid)(const std::string& content, bool mayBeTruncated);
};

constexpr Persisted kPersisted[] = {
    {"bitstream_output_mode.data", "must be empty, or hold 0 or 2 in 4 bytes",
     [](const std::string& content, bool mayBeTruncated) {
         const bool isMode =
             content.empty() || content == std::string(4, '\0') || content == std::string("\2\0\0\0", 4);
         return isMode || (mayBeTruncated && content.size() < 4);
     }},
    {"aud_ac_enabled.data", "must hold one byte, 0 or 1",
     [](const std::string& content, bool mayBeTruncated) {
         return content == std::string(1, '\0') || content == "\1" || (mayBeTruncated && content.empty());
     }},
    {"aud_ac.data", "must hold records of 140 bytes, a marker and an end", isCalibration},
};

void checkPersisted(const TvFiles& files, const ToleratedViolations& tolerated,
                    std::vector<std::string>& broken) {
    for (const Persisted& file : kPersisted) {
        const std::string path = std::string(kStoredFiles) + "/" + file.name;
        const std::string* const content = findIn(files, path);
        if (content == nullptr || file.isValid(*content, tolerated.truncatedFiles.count(path) != 0)) continue;
        broken.push_back(std::string(file.name) + " " + file.rule + ", but has " +
                         std::to_string(content->size()) + " bytes");
    }
}

void checkController(const TvFiles& files, std::vector<std::string>& broken) {
    for (const UploadKind kind : kUploadKinds) {
        const std::string* const state = findIn(files, transferStateFile(kind));
        if (state != nullptr && state->substr(0, 1) != std::string(1, '\0'))
            broken.push_back(std::string("the controller still transfers ") + nameOf(kind) + " parameters");
        if (findIn(files, incomingFile(kind)) != nullptr)
            broken.push_back(std::string("an incomplete upload of ") + nameOf(kind) + " parameters is left");
    }
}

}  // namespace

Usage usageOf(pid_t pid) {
    const std::string process = "/proc/" + std::to_string(pid);
    const long memory = kMeasuresMemory ? fieldOf(process + "/status", "RssAnon:") : 0;
    return {entriesOf(process + "/fd"), entriesOf(process + "/task"), memory};
}

Usage usageWhenIdle(const TestTv& tv, std::chrono::milliseconds patience, std::chrono::milliseconds interval,
                    const std::function<bool(const Usage& now, const Usage& before)>& isIdle) {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    Usage before;
    for (;;) {
        const Usage now = usageOf(tv.daemon);
        if (isIdle(now, before) || std::chrono::steady_clock::now() > deadline) return now;
        before = now;
        std::this_thread::sleep_for(interval);
    }
}

std::vector<std::string> excessOf(const Usage& usage, const Usage& allowed) {
    std::vector<std::string> excess;
    const auto compare = [&excess](long used, long limit, const char* resource) {
        if (used > limit)
            excess.push_back(std::to_string(used) + " " + resource + ", allowed " + std::to_string(limit));
    };
    compare(usage.descriptors, allowed.descriptors, "descriptors");
    compare(usage.threads, allowed.threads, "threads");
    compare(usage.memory, allowed.memory, "KiB of memory");
    return excess;
}

TvFiles filesOf(const TestTv& tv) {
    TvFiles files;
    std::error_code error;
    for (const char* folder : kStateFolders) {
        fs::recursive_directory_iterator entry(tv.root + folder, error), end;
        for (; !error && entry != end; entry.increment(error)) {
            if (!entry->is_regular_file(error)) continue;
            files[entry->path().string().substr(tv.root.size())] = contentOf(entry->path());
        }
        error.clear();
    }
    return files;
}

const std::string* findIn(const TvFiles& files, const std::string& path) {
    const auto found = files.find(path);
    return found != files.end() ? &found->second : nullptr;
}

std::vector<std::string> persistedFiles() {
    std::vector<std::string> paths;
    for (const Persisted& file : kPersisted) paths.push_back(std::string(kStoredFiles) + "/" + file.name);
    return paths;
}

std::vector<std::string> brokenInvariants(const TvFiles& files, const ToleratedViolations& tolerated) {
    std::vector<std::string> broken;
    checkPersisted(files, tolerated, broken);
    checkController(files, broken);
    const std::string* const locks = findIn(files, kWakeLockFile);
    if (tolerated.wakeLockHeld || locks == nullptr) return broken;
    for (const std::string& name : splitLines(*locks)) broken.push_back("the wake lock " + name + " is held");
    return broken;
}

}  // namespace hidlaudio::host
