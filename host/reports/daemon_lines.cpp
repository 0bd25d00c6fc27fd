// SPDX-License-Identifier: Apache-2.0
#include "daemon_lines.h"

#include <algorithm>
#include <iterator>
#include <set>
#include <tuple>
#include <unordered_map>

#include "call_table.h"

namespace hidlaudio::host {
namespace {

using End = DaemonLine::End;
using Lines = std::vector<DaemonLine>;

/** Lines of several threads may be logged out of order by less than this. */
constexpr int64_t kDisorder = 2000000;

std::string keyOf(const DaemonLine& line) {
    return std::to_string(line.time / 1000) + " " + std::to_string(line.process) + " " + line.level +
           line.tag + ":" + line.text;
}

bool isTimed(const Lines& lines) {
    return std::all_of(lines.begin(), lines.end(),
                       [](const DaemonLine& line) { return line.time != kNoTime; });
}

bool areEqual(const DaemonLine& one, const DaemonLine& other) {
    return std::tie(one.process, one.level, one.tag, one.text) ==
           std::tie(other.process, other.level, other.tag, other.text);
}

/** Adds lines without times. Drops them if the log has the same sequence of lines. */
void append(const Lines& stream, Lines& lines) {
    if (std::search(lines.begin(), lines.end(), stream.begin(), stream.end(), areEqual) != lines.end())
        return;
    lines.insert(lines.end(), stream.begin(), stream.end());
}

/** Adds those lines that the log does not have yet, by their times. */
void merge(const Lines& stream, Lines& lines) {
    std::unordered_map<std::string, size_t> known;
    for (const DaemonLine& line : lines) ++known[keyOf(line)];
    Lines added;
    for (const DaemonLine& line : stream) {
        const auto found = known.find(keyOf(line));
        if (found != known.end() && found->second > 0) {
            --found->second;
        } else {
            added.push_back(line);
        }
    }
    Lines merged;
    merged.reserve(lines.size() + added.size());
    std::merge(lines.begin(), lines.end(), added.begin(), added.end(), std::back_inserter(merged),
               [](const DaemonLine& one, const DaemonLine& other) { return one.time < other.time; });
    lines = std::move(merged);
}

Lines mergeAll(std::vector<Lines>& streams) {
    std::stable_sort(streams.begin(), streams.end(),
                     [](const Lines& one, const Lines& other) { return one.size() > other.size(); });
    Lines lines;
    for (Lines& stream : streams) {
        if (lines.empty()) {
            lines = std::move(stream);
        } else if (isTimed(lines) && isTimed(stream)) {
            merge(stream, lines);
        } else {
            append(stream, lines);
        }
    }
    streams.clear();
    return lines;
}

std::string mixed(const Report& report, const DaemonLine& one, const DaemonLine& other, const char* why) {
    return "the logs of two TVs are mixed: " + nameOf(report, one.place) + " and " +
           nameOf(report, other.place) + " " + why;
}

class BootSplitter {
  public:
    BootSplitter(Report& report, DaemonLog& log) : report_(report), log_(log) {}

    std::string add(DaemonLine& line) {
        if (line.end != End::None) {
            noteEnd(line);
            return "";
        }
        const bool isStart = isDaemonStart(line.tag, line.text);
        if (isStart || log_.boots.empty() || log_.boots.back().process != line.process) {
            if (!isStart && former_.count(line.process) > 0) {
                // The other threads of a killed process may have logged until then.
                if (!isDaemonTag(line.tag)) return "";
                return mixed(report_, log_.lines.back(), line,
                             "are of two daemons that run at the same time");
            }
            former_.insert(line.process);
            log_.boots.push_back({line.process, log_.lines.size(), 0, isStart, End::None, {}});
            wentBack_ = false;
        } else if (const std::string problem = checkTime(line); !problem.empty()) {
            return problem;
        }
        log_.lines.push_back(std::move(line));
        log_.boots.back().past = log_.lines.size();
        return "";
    }

  private:
    /** The clock of a TV may be set back once, but dates that jump to and fro are those of two TVs. */
    std::string checkTime(const DaemonLine& line) {
        const DaemonLine& before = log_.lines.back();
        if (line.time == kNoTime || before.time == kNoTime || line.time >= before.time - kDisorder) return "";
        if (wentBack_) return mixed(report_, before, line, "go back in time once more");
        wentBack_ = true;
        warn(report_, line.place, "the clock was set back");
        return "";
    }

    void noteEnd(const DaemonLine& line) {
        const auto found = std::find_if(log_.boots.rbegin(), log_.boots.rend(),
                                        [&line](const Boot& boot) { return boot.process == line.process; });
        if (found == log_.boots.rend() || found->end == End::Crashed) return;
        found->end = line.end;
        found->endPlace = line.place;
    }

    Report& report_;
    DaemonLog& log_;
    std::set<pid_t> former_;
    bool wentBack_ = false;
};

}  // namespace

std::string mergeStreams(Report& report, DaemonLog& log) {
    Lines lines = mergeAll(report.streams);
    BootSplitter splitter(report, log);
    for (DaemonLine& line : lines)
        if (const std::string problem = splitter.add(line); !problem.empty()) return problem;
    return "";
}

}  // namespace hidlaudio::host
