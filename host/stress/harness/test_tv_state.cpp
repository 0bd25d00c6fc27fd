// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#include "host/tv_files/back_end_files.h"
#include "host/tv_files/stored_files.h"
#include "test_tv.h"

namespace hidlaudio::host {
namespace {

namespace fs = std::filesystem;

constexpr const char* kStateFolders[] = {kStoredFiles, "/soc/config", "/soc/audio_decoder", "/soc/bectrl",
                                         "/bectrl",    "/proc",       "/hal/parameters",    "/power"};

constexpr bool kMemoryIsAsItSeems = HIDLAUDIO_OWN_MEMORY != 0;

long entriesOf(const std::string& folder) {
    std::error_code error;
    long count = 0;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error))
        ++count;
    return count;
}

/** Returns the number of a field in /proc/<pid>/status, or 0 if the field is missing. */
long fieldOf(const std::string& status, const std::string& field) {
    std::ifstream file(status);
    for (std::string line; std::getline(file, line);) {
        if (line.compare(0, field.size(), field) == 0) return std::stol(line.substr(field.size()));
    }
    return 0;
}

/** Returns the content of a file, or "" if it is missing. */
std::string contentIn(const TvFiles& files, const std::string& path) {
    const auto found = files.find(path);
    return found != files.end() ? found->second : "";
}

bool has(const TvFiles& files, const std::string& path) {
    return files.count(path) != 0;
}

/**
 * Accepts records of 140 bytes, a marker of 4 bytes and an end of 4 bytes. If `cutOff` is set, marker and end
 * may be incomplete.
 */
bool isCalibration(const std::string& content, bool cutOff) {
    constexpr size_t kRecord = 140;
    static const std::string kTail("\1\0\0\0\0\0\0\0", 8);
    if (cutOff && content.size() % kRecord < kTail.size()) return true;
    const bool isWhole = content.size() >= kTail.size() && (content.size() - kTail.size()) % kRecord == 0;
    return isWhole && content.substr(content.size() - kTail.size()) == kTail;
}

/** A persisted file of the daemon and the rule for its content. */
struct Persisted {
    const char* name;
    const char* rule;
    bool (*holds)(const std::string& content, bool cutOff);
};

constexpr Persisted kPersisted[] = {
    {"bitstream_output_mode.data", "must be empty, or hold 0 or 2 in 4 bytes",
     [](const std::string& content, bool cutOff) {
         const bool isMode =
             content.empty() || content == std::string(4, '\0') || content == std::string("\2\0\0\0", 4);
         return isMode || (cutOff && content.size() < 4);
     }},
    {"aud_ac_enabled.data", "must hold one byte, 0 or 1",
     [](const std::string& content, bool cutOff) {
         return content == std::string(1, '\0') || content == "\1" || (cutOff && content.empty());
     }},
    {"aud_ac.data", "must hold records of 140 bytes, a marker and an end", isCalibration},
};

void checkPersisted(const TvFiles& files, const ToleratedViolations& tolerated,
                    std::vector<std::string>& broken) {
    for (const Persisted& file : kPersisted) {
        const std::string path = std::string(kStoredFiles) + "/" + file.name;
        if (!has(files, path)) continue;
        const std::string content = contentIn(files, path);
        if (file.holds(content, tolerated.cutOff.count(path) != 0)) continue;
        broken.push_back(std::string(file.name) + " " + file.rule + ", but has " +
                         std::to_string(content.size()) + " bytes");
    }
}

void checkController(const TvFiles& files, std::vector<std::string>& broken) {
    for (const UploadKind kind : kUploadKinds) {
        const std::string path = transferStateFile(kind);
        if (has(files, path) && contentIn(files, path).substr(0, 1) != std::string(1, '\0'))
            broken.push_back(std::string("the controller still transfers ") + nameOf(kind) + " parameters");
        if (has(files, incomingFile(kind)))
            broken.push_back(std::string("an incomplete upload of ") + nameOf(kind) + " parameters is left");
    }
}

}  // namespace

Usage usageOf(pid_t pid) {
    const std::string process = "/proc/" + std::to_string(pid);
    const long memory = kMemoryIsAsItSeems ? fieldOf(process + "/status", "RssAnon:") : 0;
    return {entriesOf(process + "/fd"), entriesOf(process + "/task"), memory};
}

TvFiles filesOf(const TestTv& tv) {
    TvFiles files;
    std::error_code error;
    for (const char* folder : kStateFolders) {
        fs::recursive_directory_iterator entry(tv.root + folder, error), end;
        for (; !error && entry != end; entry.increment(error)) {
            if (!entry->is_regular_file(error)) continue;
            std::ifstream file(entry->path(), std::ios::binary);
            files[entry->path().string().substr(tv.root.size())] = {std::istreambuf_iterator<char>(file), {}};
        }
        error.clear();
    }
    return files;
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
    if (tolerated.wakeLockKept) return broken;
    std::istringstream locks(contentIn(files, "/power/wake_lock"));
    for (std::string name; std::getline(locks, name);) broken.push_back("the wake lock " + name + " is held");
    return broken;
}

}  // namespace hidlaudio::host
