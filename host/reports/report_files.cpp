// SPDX-License-Identifier: Apache-2.0
#include "report_files.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <iterator>

#include "host/program/owned_descriptor.h"
#include "host/program/json.h"
#include "log_reader.h"
#include "pattern.h"
#include "service_state.h"

namespace hidlaudio::host {
namespace {

namespace fs = std::filesystem;

constexpr size_t kPiece = 1 << 20;
/** Part of a file from which its kind is recognized. */
constexpr size_t kHead = 4096;
/** Largest file that is read as a whole. */
constexpr size_t kLargestWhole = 64 << 20;

/** Files of the TV that are known by the end of their path. */
constexpr const char* kTvFiles[] = {kCalibrationFile,   kEnabledFile,
                                    kBitstreamModeFile, kTuningFile,
                                    kGainFile,          "/soc/audio_decoder/channel_main_delay_sp"};
/** Files below a folder of the TV of which each is a value. */
constexpr std::string_view kIgnoredSuffixes[] = {"/log/audio_hal.log", "/soc/eeprom.bin",
                                                 "/soc/bectrl/custom_spec.log"};

/** The bytes of the large vectors of a record, and the name of their copy beside the scenario. */
constexpr std::string_view kBytesSuffix = ".bytes";
constexpr char kBytesName[] = "record.bytes";

enum class FileKind { Log, Record, Json, Binary };

bool endsWith(std::string_view text, std::string_view end) {
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

/** Returns the path on the TV of a copied file, or "". A file of the data folder is known by its name. */
std::string tvPathOf(const std::string& name) {
    for (const char* const path : kTvFiles) {
        const std::string_view full(path);
        const std::string_view base = full.substr(full.rfind('/'));
        if (endsWith("/" + name, full) || (base.find(".data") != base.npos && endsWith("/" + name, base)))
            return path;
    }
    const size_t config = ("/" + name).rfind(kConfigFolder);
    return config == std::string::npos ? "" : ("/" + name).substr(config);
}

FileKind kindOf(std::string_view head) {
    if (head.find('\0') != std::string_view::npos) return FileKind::Binary;
    const auto strange = std::count_if(head.begin(), head.end(), [](char byte) {
        const auto code = static_cast<unsigned char>(byte);
        return (code < ' ' && code != '\n' && code != '\r' && code != '\t' && code != 27) || code == 127;
    });
    if (static_cast<size_t>(strange) > head.size() / 100) return FileKind::Binary;
    const size_t first = head.find_first_not_of(" \t\r\n");
    if (first == std::string_view::npos || head[first] != '{') return FileKind::Log;
    const std::string_view line = head.substr(first, head.find('\n', first) - first);
    return line.find("\"event\"") != std::string_view::npos ? FileKind::Record : FileKind::Json;
}

/** Splits pieces of a file into lines. A line that is longer than a piece is cut. */
class LineSplitter {
  public:
    template <typename Take>
    void add(std::string_view piece, const Take& take) {
        for (;;) {
            const size_t end = piece.find('\n');
            if (end == std::string_view::npos) break;
            if (rest_.empty()) {
                take(piece.substr(0, end));
            } else {
                rest_.append(piece.substr(0, end));
                take(std::string_view(rest_));
                rest_.clear();
            }
            piece.remove_prefix(end + 1);
        }
        if (rest_.size() < kPiece) rest_.append(piece);
    }
    template <typename Take>
    void finish(const Take& take) {
        if (!rest_.empty()) take(std::string_view(rest_));
    }

  private:
    std::string rest_;
};

void addRecordLine(std::string_view text, size_t number, Report& report) {
    PlacedRecordLine placed{{}, {report.files.size() - 1, number}};
    const std::string problem = parseRecordLine(std::string(text), placed.line);
    if (problem.empty()) {
        report.record.push_back(std::move(placed));
    } else if (!text.empty()) {
        report.warnings.push_back(nameOf(report, placed.place) + ": " + problem);
    }
}

/** Source of the pieces of a file. */
using NextPiece = std::function<std::string_view()>;

bool readLog(std::string_view head, const NextPiece& next, Report& report) {
    const size_t streams = report.streams.size();
    const size_t known = report.facts.size() + report.contents.size();
    LogReader reader(report);
    LineSplitter splitter;
    const auto take = [&reader](std::string_view line) { reader.add(line); };
    for (std::string_view piece = head; !piece.empty(); piece = next()) splitter.add(piece, take);
    splitter.finish(take);
    return report.streams.size() > streams || report.facts.size() + report.contents.size() > known ||
           reader.hasLogLines();
}

void readRecord(std::string_view head, const NextPiece& next, Report& report) {
    size_t number = 0;
    LineSplitter splitter;
    const auto take = [&](std::string_view line) { addRecordLine(line, ++number, report); };
    for (std::string_view piece = head; !piece.empty(); piece = next()) splitter.add(piece, take);
    splitter.finish(take);
}

/** Adds the logs in a dump. Each is an array of lines. */
void readLogsOf(const Json& dump, Report& report) {
    if (!dump.contains("logs") || !dump["logs"].is_object()) return;
    const std::string file = report.files.back();
    for (const auto& [name, lines] : dump["logs"].items()) {
        if (!lines.is_array()) continue;
        std::string named = file;
        named.append(" logs/").append(name);
        report.files.push_back(named);
        LogReader reader(report);
        for (const Json& line : lines)
            if (line.is_string()) reader.add(line.get_ref<const std::string&>());
    }
}

bool readJson(std::string_view head, const NextPiece& next, Report& report) {
    std::string text;
    for (std::string_view piece = head; !piece.empty() && text.size() < kLargestWhole; piece = next())
        text += piece;
    const Json json = parseJson(text);
    if (!json.is_object()) return false;
    const Place place{report.files.size() - 1, 0};
    if (noteModel(json, place, report)) return true;
    if (!json.contains("services") && !json.contains("value")) return false;
    noteDump(json, place, report);
    readLogsOf(json, report);
    return true;
}

/** Reads a file of which `head` is the first piece. Returns whether something in it is known. */
bool readPieces(const std::string& name, std::string_view head, const NextPiece& next, Report& report) {
    report.files.push_back(name);
    if (const std::string path = tvPathOf(name); !path.empty()) {
        std::string content(head);
        for (std::string_view piece = next(); !piece.empty() && content.size() < kPiece; piece = next())
            content += piece;
        report.contents[path] = {content, {report.files.size() - 1, 0}};
        return true;
    }
    switch (kindOf(head.substr(0, kHead))) {
        case FileKind::Log:
            return readLog(head, next, report);
        case FileKind::Record:
            readRecord(head, next, report);
            return true;
        case FileKind::Json:
            return readJson(head, next, report);
        case FileKind::Binary:
            return false;
    }
    return false;
}

std::string unknownContent(const std::string& name) {
    return name + " is neither a log, a dump, a record nor a file of a TV";
}

/** Reads one file. Sets `isKnown`. Returns an error message, or "". */
std::string readFile(const std::string& path, bool& isKnown, Report& report) {
    if (endsWith(path, kBytesSuffix)) {
        isKnown = true;
        report.bytes[kBytesName] = path;
        return "";
    }
    const OwnedDescriptor fd(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (fd.get() < 0) return path + ": " + strerror(errno);
    std::string buffer(kPiece, '\0');
    int error = 0;
    const NextPiece next = [&]() -> std::string_view {
        ssize_t count = 0;
        do {
            count = read(fd.get(), buffer.data(), buffer.size());
        } while (count < 0 && errno == EINTR);
        if (count < 0) error = errno;
        return {buffer.data(), static_cast<size_t>(std::max<ssize_t>(count, 0))};
    };
    isKnown = readPieces(path, next(), next, report);
    return error == 0 ? "" : path + ": " + strerror(error);
}

/** Returns the files below a folder, sorted. Files of the virtual TV that say nothing are left out. */
std::vector<std::string> filesBelow(const std::string& folder) {
    std::vector<std::string> files;
    std::error_code error;
    const auto options = fs::directory_options::skip_permission_denied;
    for (fs::recursive_directory_iterator each(folder, options, error), end; !error && each != end;
         each.increment(error)) {
        std::error_code ignored;
        const std::string path = each->path().string();
        const bool isIgnored =
            std::any_of(std::begin(kIgnoredSuffixes), std::end(kIgnoredSuffixes),
                        [&path](std::string_view suffix) { return endsWith(path, suffix); });
        if (each->is_regular_file(ignored) && !each->is_symlink(ignored) && !isIgnored) files.push_back(path);
    }
    std::sort(files.begin(), files.end());
    return files;
}

}  // namespace

std::string readReportText(const std::string& name, std::string_view content, Report& report) {
    const bool isKnown = readPieces(name, content, [] { return std::string_view(); }, report);
    return isKnown ? "" : unknownContent(name);
}

std::string readReportFiles(const std::vector<std::string>& paths, Report& report) {
    for (const std::string& path : paths) {
        std::error_code error;
        const bool isFolder = fs::is_directory(path, error);
        if (error) return path + ": " + error.message();
        for (const std::string& file : isFolder ? filesBelow(path) : std::vector{path}) {
            bool isKnown = false;
            if (const std::string problem = readFile(file, isKnown, report); !problem.empty()) return problem;
            if (!isKnown && !isFolder) return unknownContent(file);
        }
    }
    return "";
}

}  // namespace hidlaudio::host
