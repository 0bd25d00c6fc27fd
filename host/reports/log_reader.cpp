// SPDX-License-Identifier: Apache-2.0
#include "log_reader.h"

#include <android-base/strings.h>

#include <algorithm>
#include <iterator>

#include "call_table.h"
#include "pattern.h"
#include "service_state.h"

namespace hidlaudio::host {
namespace {

using android::base::StartsWith;
using End = DaemonLine::End;

constexpr int64_t kYear = int64_t{366} * 86400 * 1000000;
constexpr std::string_view kProgram = "hidlaudio";
constexpr std::string_view kDaemonTags[] = {"hidlaudio", "HidlAudio", "hdmiaudio", "AudioOutSp",
                                            "AudioAC",   "AudioHV",   "MicControl"};

/** A line of another program about the end of a process. */
struct EndRow {
    std::string_view tag;
    const char* pattern;
    End end;
};

constexpr EndRow kEnds[] = {
    {"init", "Service '{name:s}' (pid {pid:i}) received signal {signal:i}", End::Killed},
    {"init", "Service '{name:s}' (pid {pid:i}) exited with status {:s}", End::Ended},
    {"init", "Sending signal {signal:i} to service '{name:s}' (pid {pid:i}) {:s}", End::Killed},
    {"am_kill", "[{:i},{pid:i},{name:s},{:s}]", End::Killed},
    {"lowmemorykiller", "Kill '{name:s}' ({pid:i}){:s}", End::Killed},
    {"lmkd", "Kill '{name:s}' ({pid:i}){:s}", End::Killed},
    {"libc", "Fatal signal {:s} in tid {:i} ({:s}), pid {pid:i} ({name:s})", End::Crashed},
    {"DEBUG", "pid: {pid:i}, tid: {:i}, name: {:s}  >>> {name:s} <<<", End::Crashed},
};
/** Signals that a process gets for its own faults: SIGILL, SIGTRAP, SIGABRT, SIGBUS, SIGFPE, SIGSEGV. */
constexpr int kFaultSignals[] = {4, 5, 6, 7, 8, 11};

End endOf(const EndRow& row, const Json& fields) {
    const int signal = fields.value("signal", 9);
    const bool isFault =
        std::find(std::begin(kFaultSignals), std::end(kFaultSignals), signal) != std::end(kFaultSignals);
    return isFault ? End::Crashed : row.end;
}

/**
 * Returns whether a line of the daemon's process is kept. The libraries of a TV log other lines than those of
 * a virtual TV, whose middleware has a tag of its own.
 */
bool isKeptTag(const LogcatLine& line) {
    return isDaemonTag(line.tag) || line.tag == "middleware" ||
           (line.tag == "libc" && StartsWith(line.text, "Fatal signal"));
}

bool namesDaemonTag(std::string_view text) {
    return std::any_of(std::begin(kDaemonTags), std::end(kDaemonTags),
                       [text](std::string_view tag) { return text.find(tag) != std::string_view::npos; });
}

}  // namespace

std::string nameOf(const Report& report, const Place& place) {
    const std::string line = place.line > 0 ? ":" + std::to_string(place.line) : "";
    return (place.file < report.files.size() ? report.files[place.file] : "?") + line;
}

void warn(Report& report, const Place& place, const std::string& text) {
    report.warnings.push_back(nameOf(report, place) + ": " + text);
}

bool isDaemonTag(std::string_view tag) {
    return std::find(std::begin(kDaemonTags), std::end(kDaemonTags), tag) != std::end(kDaemonTags);
}

void LogReader::add(std::string_view text) {
    ++line_;
    LogcatLine line;
    if (!parseLogLine(text, line)) return addOther(text);
    hasLogLines_ = true;
    section_.clear();
    const bool isKnown = process_ != 0 && line.process == process_;
    if (line.tag == "chatty") {
        if (isKnown) addOmission(line);
        return;
    }
    const bool isOurs =
        isKnown ? isKeptTag(line) : isDaemonTag(line.tag) && isDaemonText(line.tag, line.text);
    if (isOurs) {
        process_ = line.process;
        keep(line, End::None, process_);
    }
    if (line.text.find(kProgram) != std::string_view::npos) addEnd(line);
}

void LogReader::addEnd(const LogcatLine& line) {
    for (const EndRow& row : kEnds) {
        Json fields;
        if (line.tag != row.tag || !matchPattern(row.pattern, line.text, fields)) continue;
        const std::string name = fields.value("name", "");
        if (name.find(kProgram) == std::string::npos) continue;
        const pid_t process = fields.value("pid", 0);
        // Another process may get its ID.
        if (row.end != End::Crashed && process_ == process) process_ = 0;
        return keep(line, endOf(row, fields), process);
    }
}

/** Restores the lines that were left out as repetitions. Warns if lines are lost. */
void LogReader::addOmission(const LogcatLine& line) {
    constexpr int64_t kMost = 100000;
    Json fields;
    if (matchPattern("{:s} identical {count:i} lines", line.text, fields) ||
        matchPattern("{:s} identical {count:i} line", line.text, fields)) {
        if (report_.streams.empty() || startsStream_) return;
        auto& lines = report_.streams.back();
        const auto before = std::find_if(lines.rbegin(), lines.rend(), [&line](const DaemonLine& each) {
            return each.end == End::None && each.thread == line.thread;
        });
        if (before == lines.rend()) return;
        const int64_t count = std::clamp<int64_t>(fields["count"].get<int64_t>(), 0, kMost);
        const std::vector<DaemonLine> repeated(static_cast<size_t>(count), *before);
        lines.insert(lines.end(), repeated.begin(), repeated.end());
        return;
    }
    warn(report_, here(), "lines of the daemon are lost: " + std::string(line.text));
}

void LogReader::keep(const LogcatLine& line, End end, pid_t process) {
    if (startsStream_) {
        report_.streams.emplace_back();
        yearOffset_ = 0;
    }
    int64_t time = line.time;
    if (time != kNoTime) {
        time += yearOffset_;
        const auto& lines = report_.streams.back();
        const int64_t last = lines.empty() ? time : lines.back().time;
        if (time < last - kYear / 2) {
            yearOffset_ += kYear;
            time += kYear;
        }
        if (mayStartStream_ && time < last) report_.streams.emplace_back();
    }
    startsStream_ = mayStartStream_ = false;
    report_.streams.back().push_back(
        {end, here(), time, process, line.thread, line.level, std::string(line.tag), std::string(line.text)});
}

/** Takes a line that no program has logged. */
void LogReader::addOther(std::string_view text) {
    if (StartsWith(text, "--------- beginning of ") || StartsWith(text, "--------- switch to ")) {
        mayStartStream_ = true;
    } else if (StartsWith(text, "------ ")) {
        startsStream_ = true;
        process_ = 0;
        section_.clear();
    } else if (hasLogLines_ && !text.empty() && text[0] >= '0' && text[0] <= '9' && namesDaemonTag(text)) {
        warn(report_, here(), "a damaged line of the daemon is left out");
    } else {
        addState(text);
    }
}

void LogReader::addState(std::string_view text) {
    constexpr std::string_view kVersion = " (hidlaudio ";
    if (!text.empty() && text.back() == '\r') text.remove_suffix(1);
    if (const size_t version = text.find(kVersion); version != std::string_view::npos && text.back() == ')') {
        const size_t begin = text.find_first_not_of(" \t");
        service_ = text.substr(begin, version - begin);
        section_ = service_.find(' ') == std::string::npos ? "?" : "";
        return;
    }
    if (section_.empty()) return;
    const size_t begin = text.find_first_not_of(" \t");
    if (begin == std::string_view::npos || begin == 0) {
        section_.clear();
        return;
    }
    const size_t colon = text.find(": ");
    if (colon == std::string_view::npos) {
        section_ = text.substr(begin);
    } else {
        noteServiceState({service_, section_, std::string(text.substr(begin, colon - begin)),
                          std::string(text.substr(colon + 2))},
                         here(), report_);
    }
}

}  // namespace hidlaudio::host
