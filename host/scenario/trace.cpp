// SPDX-License-Identifier: Apache-2.0
#include "trace.h"

#include <android-base/stringprintf.h>

#include <algorithm>
#include <deque>
#include <fstream>
#include <map>
#include <regex>
#include <string_view>

#include "host/recording/record_line.h"
#include "host/reports/log_line.h"

namespace hidlaudio::host {
namespace {

using android::base::StringPrintf;

/**
 * Replaces addresses in memory, which differ between runs. The limit keeps std::regex, which calls itself for
 * each character, from running out of stack.
 */
std::string withoutAddresses(const std::string& text) {
    static const std::regex address("0x[0-9a-f]{5,16}");
    if (text.find("0x") == std::string::npos) return text;
    return std::regex_replace(text, address, "ADDRESS");
}

/** Stands for the lines about a crash, which name addresses and threads. */
const TraceLine kCrash{"crash", "F the daemon crashed"};

/** Returns whether the line is the platform's report of a crash in the daemon's process. */
bool isCrashLine(const LogcatLine& line) {
    return line.level == 'F' && line.tag == "libc" &&
           line.text.find("Fatal signal ") != std::string_view::npos;
}

std::string answerText(const std::string& interface, const std::string& method, const std::string& answer) {
    return interface.substr(interface.rfind(':') + 1) + "." + method + " -> " + answer;
}

/** The calls of a record, in the order of their answers, and the calls that never returned. */
class RecordedAnswers {
  public:
    explicit RecordedAnswers(Trace& trace) : trace_(trace) {}

    void add(const RecordLine& line) {
        if (line.event == RecordLine::Event::Start) finish();
        if (line.event == RecordLine::Event::Call) begin(line);
        if (line.event == RecordLine::Event::Answer) answer(line);
    }

    void finish() {
        for (const auto& [id, call] : open_) add(call, "failed");
        open_.clear();
    }

  private:
    void begin(const RecordLine& call) {
        const bool isHal = call.interface.rfind("android.", 0) == 0;
        if (call.isIncoming && !call.arguments.is_null()) open_[call.id] = call;
        if (!call.isIncoming && !isHal)
            trace_.push_back({"callback", "callback " + call.method + " " + call.arguments.dump()});
    }

    void add(const RecordLine& call, const std::string& answer) {
        trace_.push_back(
            {"client " + std::to_string(call.client), answerText(call.interface, call.method, answer)});
    }

    void answer(const RecordLine& line) {
        const auto found = open_.find(line.id);
        if (found == open_.end()) return;
        add(found->second, line.duration < 0 ? "failed" : line.results.dump());
        open_.erase(found);
    }

    Trace& trace_;
    std::map<uint64_t, RecordLine> open_;
};

/** A trace as queues of the lines of each lane. Lines are known by their index in the trace. */
class Queues {
  public:
    explicit Queues(const Trace& trace) : trace_(trace) {
        for (size_t i = 0; i < trace.size(); ++i) lanes_[trace[i].lane].push_back(i);
    }

    /** Returns the first lines of all lanes that have one, in their order. */
    std::vector<size_t> heads() const {
        std::vector<size_t> found;
        for (const auto& [lane, lines] : lanes_) {
            if (!lines.empty()) found.push_back(lines.front());
        }
        std::sort(found.begin(), found.end());
        return found;
    }

    void pop(size_t head) { lanes_[trace_[head].lane].pop_front(); }

  private:
    const Trace& trace_;
    std::map<std::string, std::deque<size_t>> lanes_;
};

/** Compares two traces by removing equal first lines of their lanes, as long as there are any. */
class Comparison {
  public:
    Comparison(const Trace& given, const Trace& actual)
        : given_(given), actual_(actual), givenQueues_(given), actualQueues_(actual) {}

    std::optional<Difference> run() {
        while (removePair()) {
        }
        const auto given = givenQueues_.heads();
        const auto actual = actualQueues_.heads();
        if (given.empty() && actual.empty()) return std::nullopt;
        return Difference{given.empty() ? given_.size() : given[0],
                          actual.empty() ? actual_.size() : actual[0]};
    }

  private:
    /** Removes the first given line that equals a line. Prefers the lane that its lane has equaled before. */
    bool removePair() {
        const std::vector<size_t> candidates = actualQueues_.heads();
        for (const size_t given : givenQueues_.heads()) {
            std::string& partner = partners_[given_[given].lane];
            std::optional<size_t> chosen;
            for (const size_t actual : candidates) {
                if (given_[given].text != actual_[actual].text) continue;
                if (!chosen || actual_[actual].lane == partner) chosen = actual;
            }
            if (!chosen) continue;
            partner = actual_[*chosen].lane;
            givenQueues_.pop(given);
            actualQueues_.pop(*chosen);
            return true;
        }
        return false;
    }

    const Trace& given_;
    const Trace& actual_;
    Queues givenQueues_;
    Queues actualQueues_;
    std::map<std::string, std::string> partners_;  // lane of the actual trace, by that of the given one
};

}  // namespace

std::string readLogTrace(const std::string& path, Trace& trace) {
    std::ifstream file(path, std::ios::binary);
    if (!file) return path + ": cannot be read";
    for (std::string line; std::getline(file, line);) {
        LogcatLine parts;
        if (parseLogLine(line, parts)) {
            const std::string lane = std::to_string(parts.process) + " " + std::to_string(parts.thread);
            trace.push_back(isCrashLine(parts) ? kCrash : TraceLine{lane, withoutAddresses(textOf(parts))});
        } else if (!trace.empty() && !line.empty()) {
            trace.back().text += "\n" + line;
        }
    }
    return trace.empty() ? path + ": the file has no line of a log" : "";
}

std::string readRecordTrace(const std::string& path, Trace& trace) {
    std::ifstream file(path, std::ios::binary);
    if (!file) return path + ": cannot be read";
    RecordedAnswers answers(trace);
    size_t number = 0;
    for (std::string text; std::getline(file, text);) {
        RecordLine line;
        const std::string problem = parseRecordLine(text, line);
        if (!problem.empty()) return StringPrintf("%s:%zu: %s", path.c_str(), number + 1, problem.c_str());
        answers.add(line);
        ++number;
    }
    answers.finish();
    return number == 0 ? path + ": the record is empty" : "";
}

bool isRecord(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return file.get() == '{';
}

Trace answersOf(const Scenario& scenario, const RunResult& result) {
    Trace trace;
    for (size_t i = 0; i < scenario.lines.size(); ++i) {
        const ScenarioLine& line = scenario.lines[i];
        if (line.kind != ScenarioLine::Kind::Call) continue;
        std::string answer = result.lines[i].output;
        if (!answer.empty()) answer.pop_back();
        trace.push_back({"client " + line.call.client, answerText(line.call.interface, line.call.method,
                                                                  answer.empty() ? "failed" : answer)});
    }
    for (const auto& [client, calls] : result.callbacks) {
        for (const std::string& call : calls)
            trace.push_back({"callbacks of " + client, "callback " + call.substr(call.find('.') + 1)});
    }
    return trace;
}

void addCrashes(const std::vector<std::string>& problems, Trace& trace) {
    for (const std::string& problem : problems) {
        if (isCrash(problem)) trace.push_back(kCrash);
    }
}

void skipStart(const Trace& given, Trace& actual) {
    constexpr char kStart[] = "HIDL server side: main() is called";
    if (given.empty() || given[0].text.find(kStart) != std::string::npos) return;
    const auto first = std::find_if(actual.begin(), actual.end(),
                                    [&](const TraceLine& line) { return line.text == given[0].text; });
    if (first != actual.end()) actual.erase(actual.begin(), first);
}

std::optional<Difference> firstDifference(const Trace& given, const Trace& actual) {
    return Comparison(given, actual).run();
}

}  // namespace hidlaudio::host
