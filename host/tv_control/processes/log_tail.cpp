// SPDX-License-Identifier: Apache-2.0
#include "log_tail.h"

#include <android-base/unique_fd.h>
#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>

#include <algorithm>

#include "host/program/split_text.h"
#include "host/program/standard_streams.h"
#include "host/tv_files/regular_file.h"
#include "host/tv_files/tv_check.h"
#include "host/tv_files/tv_root.h"
#include "programs.h"

namespace hidlaudio::host {
namespace {

/** lastLines() searches at most this many bytes at the end of a log. */
constexpr int64_t kLastWords = 16384;

int64_t sizeOf(const std::string& path) {
    struct stat status{};
    return stat(path.c_str(), &status) == 0 ? status.st_size : 0;
}

/** Passes the content of a file from offset `start` to `use`, in pieces. Returns the offset of the end. */
template <typename Use>
int64_t readFrom(const std::string& path, int64_t start, Use use) {
    const android::base::unique_fd file(openRegularFile(path, O_RDONLY));
    char piece[8192];
    int64_t end = start;
    ssize_t count = 0;
    while (file.get() >= 0 && (count = pread(file.get(), piece, sizeof(piece), end)) > 0) {
        use(piece, static_cast<size_t>(count));
        end += count;
    }
    return end;
}

std::string lastLinesOf(const std::string& text, size_t count) {
    const std::vector<std::string> lines = splitLines(text);
    std::string last;
    for (size_t i = lines.size() - std::min(count, lines.size()); i < lines.size(); ++i)
        last += lines[i] + "\n";
    return last;
}

}  // namespace

LogTail::LogTail(From from) {
    for (const char* program : kPrograms) {
        const std::string path = logOf(program);
        const int64_t start = from == From::End ? sizeOf(path) : 0;
        files_.push_back({path, start, start});
    }
}

bool LogTail::print() {
    for (File& file : files_) {
        // The log was truncated: print it from its start.
        if (sizeOf(file.path) < file.printed) file.printed = 0;
        file.printed = readFrom(file.path, file.printed,
                                [](const char* piece, size_t size) { fwrite(piece, 1, size, stdout); });
    }
    // A log may not grow for a long time, and without a write a closed pipe is not detected.
    return flushOutput() && isOutputRead();
}

std::string LogTail::lastLines(size_t count) const {
    std::string all;
    for (const File& file : files_) {
        const int64_t start = std::max(file.start, sizeOf(file.path) - kLastWords);
        std::string text;
        readFrom(file.path, start, [&](const char* piece, size_t size) { text.append(piece, size); });
        all += lastLinesOf(text, count);
    }
    return all;
}

bool LogTail::anyLog() const {
    return std::any_of(files_.begin(), files_.end(), [](const File& file) {
        struct stat status{};
        return stat(file.path.c_str(), &status) == 0;
    });
}

std::string LogTail::problem() const {
    for (const File& file : files_) {
        std::string problem = fileProblem(tvRoot(), file.path.substr(tvRoot().size()));
        if (!problem.empty()) return problem;
        const android::base::unique_fd log(openRegularFile(file.path, O_RDONLY));
        if (log.get() < 0 && errno != ENOENT) return fileError(file.path, errno);
    }
    return "";
}

}  // namespace hidlaudio::host
