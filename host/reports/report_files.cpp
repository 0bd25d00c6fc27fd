// SPDX-License-Identifier: Apache-2.0
#include "report_files.h"

#include <android-base/strings.h>
#include <android-base/unique_fd.h>
#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <iterator>

#include "host/program/json.h"
#include "log_reader.h"
#include "pattern.h"
#include "service_state.h"

namespace hidlaudio::host {
namespace {

namespace fs = std::filesystem;
using android::base::EndsWith;
using android::base::StartsWith;

constexpr size_t kPiece = 1 << 20;
/** Part of a file from which its kind is recognized. */
constexpr size_t kHead = 4096;
/** Largest file that is read as a whole. */
constexpr size_t kLargestWhole = 64 << 20;

/** Files of the TV that are known by the end of their path. */
constexpr const char* kTvFiles[] = {kCalibrationFile,   kEnabledFile,
                                    kBitstreamModeFile, kTuningFile,
                                    kGainFile,          "/soc/audio_decoder/channel_main_delay_sp"};
/** Files of a virtual TV that are not read. */
constexpr std::string_view kIgnoredSuffixes[] = {"/log/audio_hal.log", "/soc/eeprom.bin",
                                                 "/soc/bectrl/custom_spec.log"};

/** The bytes of the large vectors of a record, and the name of their copy beside the scenario. */
constexpr std::string_view kBytesSuffix = ".bytes";
constexpr char kBytesName[] = "record.bytes";

/** Returns the path on the TV of a copied file, or "". A file of the data folder is known by its name. */
std::string tvPathOf(const std::string& name) {
    for (const char* const path : kTvFiles) {
        const std::string_view full(path);
        const std::string_view base = full.substr(full.rfind('/'));
        if (EndsWith("/" + name, full) || (base.find(".data") != base.npos && EndsWith("/" + name, base)))
            return path;
    }
    const size_t config = ("/" + name).rfind(kConfigFolder);
    return config == std::string::npos ? "" : ("/" + name).substr(config);
}

bool isBinary(std::string_view head) {
    if (head.find('\0') != std::string_view::npos) return true;
    const auto strange = std::count_if(head.begin(), head.end(), [](char byte) {
        const auto code = static_cast<unsigned char>(byte);
        return (code < ' ' && code != '\n' && code != '\r' && code != '\t' && code != 27) || code == 127;
    });
    return static_cast<size_t>(strange) > head.size() / 100;
}

/** Returns the first line of JSON, or "" if the text is not JSON. */
std::string_view firstJsonLine(std::string_view head) {
    const size_t first = std::min(head.find_first_not_of(" \t\r\n"), head.size());
    head.remove_prefix(first);
    return head.substr(0, StartsWith(head, "{") ? head.find('\n') : 0);
}

/** Returns the next piece of a file, or "" at its end. */
using NextPiece = std::function<std::string_view()>;

/** Passes on the lines of a file of which `piece` is the first piece. A line that exceeds a piece is cut. */
void forEachLine(std::string_view piece, const NextPiece& next,
                 const std::function<void(std::string_view line)>& take) {
    std::string line;
    for (; !piece.empty(); piece = next()) {
        for (size_t end = piece.find('\n'); end != piece.npos; end = piece.find('\n')) {
            take(line.append(piece.substr(0, end)));
            line.clear();
            piece.remove_prefix(end + 1);
        }
        if (line.size() < kPiece) line.append(piece);
    }
    if (!line.empty()) take(line);
}

/** Returns the content of a file of which `piece` is the first piece, up to the piece that exceeds `limit`.
 */
std::string wholeContent(std::string_view piece, const NextPiece& next, size_t limit) {
    std::string content;
    for (; !piece.empty() && content.size() < limit; piece = next()) content += piece;
    return content;
}

bool readLog(std::string_view head, const NextPiece& next, Report& report) {
    const auto known = [&report] {
        return report.streams.size() + report.facts.size() + report.contents.size();
    };
    const size_t before = known();
    LogReader reader(report);
    forEachLine(head, next, [&reader](std::string_view line) { reader.add(line); });
    return known() > before || reader.hasLogLines();
}

void readRecord(std::string_view head, const NextPiece& next, Report& report) {
    Place place{report.files.size() - 1, 0};
    forEachLine(head, next, [&](std::string_view text) {
        ++place.line;
        PlacedRecordLine placed{{}, place};
        const std::string problem = parseRecordLine(std::string(text), placed.line);
        if (problem.empty()) report.record.push_back(std::move(placed));
        if (!problem.empty() && !text.empty()) warn(report, place, problem);
    });
}

/** Adds the logs in a dump. Each is an array of lines. */
void readLogsOf(const Json& dump, Report& report) {
    if (!dump.contains("logs") || !dump["logs"].is_object()) return;
    const std::string file = report.files.back();
    for (const auto& [name, lines] : dump["logs"].items()) {
        if (!lines.is_array()) continue;
        report.files.push_back(file + " logs/" + name);
        LogReader reader(report);
        for (const Json& line : lines)
            if (line.is_string()) reader.add(line.get_ref<const std::string&>());
    }
}

bool readJson(std::string_view head, const NextPiece& next, Report& report) {
    const Json json = parseJson(wholeContent(head, next, kLargestWhole));
    if (!json.is_object()) return false;
    const Place place{report.files.size() - 1, 0};
    if (noteModel(json, place, report)) return true;
    if (!json.contains("services") && !json.contains("value")) return false;
    noteDump(json, place, report);
    readLogsOf(json, report);
    return true;
}

/** Reads a file of which `head` is the first piece. Returns false if it has an unknown content. */
bool readPieces(const std::string& name, std::string_view head, const NextPiece& next, Report& report) {
    report.files.push_back(name);
    if (const std::string path = tvPathOf(name); !path.empty()) {
        report.contents[path] = {wholeContent(head, next, kPiece), {report.files.size() - 1, 0}};
        return true;
    }
    const std::string_view begin = head.substr(0, kHead);
    if (isBinary(begin)) return false;
    const std::string_view json = firstJsonLine(begin);
    if (json.empty()) return readLog(head, next, report);
    if (json.find("\"event\"") == json.npos) return readJson(head, next, report);
    readRecord(head, next, report);
    return true;
}

std::string unknownContent(const std::string& name) {
    return name + " is neither a log, a dump, a record nor a file of a TV";
}

/** Reads one file. Sets `isKnown`. Returns an error message, or "". */
std::string readFile(const std::string& path, bool& isKnown, Report& report) {
    if (EndsWith(path, kBytesSuffix)) {
        isKnown = true;
        report.bytes[kBytesName] = path;
        return "";
    }
    const android::base::unique_fd fd(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (fd.get() < 0) return path + ": " + strerror(errno);
    std::string buffer(kPiece, '\0');
    int error = 0;
    const NextPiece next = [&]() -> std::string_view {
        const ssize_t count = TEMP_FAILURE_RETRY(read(fd.get(), buffer.data(), buffer.size()));
        if (count < 0) error = errno;
        return {buffer.data(), static_cast<size_t>(std::max<ssize_t>(count, 0))};
    };
    isKnown = readPieces(path, next(), next, report);
    return error == 0 ? "" : path + ": " + strerror(error);
}

/** Returns the sorted files below a folder, without those of kIgnoredSuffixes. */
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
                        [&path](std::string_view suffix) { return EndsWith(path, suffix); });
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
