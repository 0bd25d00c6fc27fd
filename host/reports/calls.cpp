// SPDX-License-Identifier: Apache-2.0
#include "calls.h"

#include <algorithm>
#include <map>

namespace hidlaudio::host {
namespace {

constexpr size_t kNone = SIZE_MAX;
/** Maximum number of calls inside of another one. */
constexpr size_t kDeepest = 16;

/** Returns whether the method calls getEnabled() itself, which is logged like the call of a client. */
bool readsSwitch(const std::string& method) {
    return method == "setSmoothDelay" || method == "setSmoothDelayEnabled";
}

/** A call with refused delays logs only its first line. Such delays are an empty list. */
void completeDelays(Call& call) {
    if (call.method == "setSmoothDelay" && !call.hasEnded && call.first == call.last)
        call.arguments["delays"] = Json::array();
}

/** Restores the list of capabilities, which is logged once for each entry that names a known group. */
void completeCapabilities(Call& call) {
    const auto lengths = call.arguments.find("lengths");
    if (lengths == call.arguments.end()) return;
    Json& list = call.arguments["capabilities"];
    const size_t times = lengths->size();
    const auto length = std::clamp<int64_t>((*lengths)[0].get<int64_t>(), 0, 1000);
    Json once = Json::array();
    for (size_t i = 0; i < list.size() / times; ++i) once.push_back(list[i]);
    // Empty entries are not logged.
    if (once.size() < static_cast<size_t>(length)) call.assumed.insert("capabilities");
    while (once.size() < static_cast<size_t>(length)) once.push_back("");
    list = once;
    call.arguments.erase("lengths");
}

class CallReader {
  public:
    CallReader(const DaemonLog& log, const Boot& boot, Report& report)
        : log_(log), boot_(boot), report_(report) {}

    BootCalls read() {
        result_.owners.reserve(boot_.past - boot_.first);
        for (size_t i = boot_.first; i < boot_.past; ++i) result_.owners.push_back(ownerOf(i));
        removeInner();
        for (Call& call : result_.calls) {
            completeCapabilities(call);
            completeDelays(call);
        }
        return std::move(result_);
    }

  private:
    int ownerOf(size_t index) {
        const DaemonLine& line = log_.lines[index];
        if (isAsynchronous(line.text)) return kAsynchronousLine;
        if (startCall(line, index)) return static_cast<int>(result_.calls.size()) - 1;
        const auto open = open_.find(line.thread);
        if (open == open_.end()) {
            return boot_.hasStart && result_.calls.empty() ? kBootLine : kAsynchronousLine;
        }
        return continueCall(open->second, line, index);
    }

    bool startCall(const DaemonLine& line, size_t index) {
        for (const CallRow& row : kCallRows) {
            const bool isOnlyLine = row.start == nullptr;
            Json fields = Json::object();
            if (line.tag != row.tag || !matchPattern(isOnlyLine ? row.end : row.start, line.text, fields))
                continue;
            Call call;
            call.place = line.place;
            call.first = call.last = index;
            call.thread = line.thread;
            call.interface = row.interface;
            call.method = row.method;
            if (row.assumed != nullptr) call.arguments = Json::parse(row.assumed);
            for (const auto& [name, value] : call.arguments.items()) call.assumed.insert(name);
            (isOnlyLine ? call.results : call.arguments).update(fields);
            call.hasEnded = row.end == nullptr || isOnlyLine;
            addDetails(line, call);
            result_.calls.push_back(std::move(call));
            open_[line.thread] = result_.calls.size() - 1;
            return true;
        }
        warnIfDamaged(line);
        return false;
    }

    int continueCall(size_t number, const DaemonLine& line, size_t index) {
        const size_t outer = outerOf(number, line);
        Call& call = result_.calls[outer == kNone ? number : outer];
        if (outer != kNone) {
            open_[line.thread] = outer;
            if (readsSwitch(call.method)) inner_.emplace_back(outer, number);
        }
        // Lines after the end, except those of a method whose end is not logged, belong to no call.
        const CallRow* const row = findCallRow(call.method);
        if (call.hasEnded && row->end != nullptr) return kAsynchronousLine;
        call.last = index;
        if (row->end != nullptr && matchPattern(row->end, line.text, call.results)) call.hasEnded = true;
        addDetails(line, call);
        return static_cast<int>(&call - result_.calls.data());
    }

    /** Returns the earlier call of the thread that this line ends, or kNone. */
    size_t outerOf(size_t number, const DaemonLine& line) const {
        const std::string_view name = bracketedName(line.text);
        const bool endsSet = line.text == "HIDL hdmiaudio set finish";
        if (!endsSet && (name.empty() || name == result_.calls[number].method)) return kNone;
        for (size_t past = number; past > 0 && number - past < kDeepest; --past) {
            const size_t i = past - 1;
            const Call& call = result_.calls[i];
            if (call.thread != line.thread || call.hasEnded) continue;
            const CallRow* const row = findCallRow(call.method);
            if (row->end == nullptr || line.tag != row->tag) continue;
            if (matchPattern(row->end, line.text)) return i;
            if (name == call.method) return kNone;
        }
        return kNone;
    }

    static void addDetails(const DaemonLine& line, Call& call) {
        for (const DetailRow& row : kDetailRows) {
            if (call.method != row.method) continue;
            Json fields = Json::object();
            if (!matchPattern(row.pattern, line.text, fields)) continue;
            // Arrays grow from line to line, so the fields are added to the arguments themselves.
            if (row.isEnd && fields.contains("result")) {
                call.results.update(fields);
            } else {
                matchPattern(row.pattern, line.text, call.arguments);
            }
            if (row.arguments != nullptr) call.arguments.update(Json::parse(row.arguments));
            if (row.known != nullptr) call.assumed.erase(row.known);
            if (call.arguments.contains("kind")) {
                call.kind = call.arguments["kind"].get<int>();
                call.arguments.erase("kind");
            }
            call.hasEnded = call.hasEnded || row.isEnd;
        }
    }

    /** Removes the calls that a method has made to itself. Their lines become those of the outer call. */
    void removeInner() {
        std::map<size_t, size_t> outers;  // by the inner call
        for (const auto& [outer, number] : inner_) {
            takeLines(outer);
            for (size_t i = outer + 1; i <= number; ++i) {
                const Call& call = result_.calls[i];
                if (call.method == "getEnabled" && call.thread == result_.calls[outer].thread)
                    outers[i] = outer;
            }
        }
        std::vector<int> moved;
        std::vector<Call> kept;
        for (size_t i = 0; i < result_.calls.size(); ++i) {
            const auto inner = outers.find(i);
            moved.push_back(inner != outers.end() ? moved[inner->second] : static_cast<int>(kept.size()));
            if (inner == outers.end()) kept.push_back(std::move(result_.calls[i]));
        }
        result_.calls = std::move(kept);
        for (int& owner : result_.owners)
            if (owner >= 0) owner = moved[static_cast<size_t>(owner)];
    }

    /** Gives a call the lines of its thread that came after the end of a call inside of it. */
    void takeLines(size_t number) {
        const Call& call = result_.calls[number];
        for (size_t i = call.first; i <= call.last; ++i) {
            const DaemonLine& line = log_.lines[i];
            int& owner = result_.owners[i - boot_.first];
            if (owner == kAsynchronousLine && line.thread == call.thread && !isAsynchronous(line.text))
                owner = static_cast<int>(number);
        }
    }

    void warnIfDamaged(const DaemonLine& line) {
        if (!isDaemonTag(line.tag)) return;
        const std::string_view name = bracketedName(line.text);
        const bool isCut = !line.text.empty() && line.text[0] == '[' && name.empty();
        const CallRow* const row = findCallRow(name);
        const std::string start = "[" + std::string(name) + "] start";
        const bool isStart =
            row != nullptr && line.tag == row->tag && line.text.compare(0, start.size(), start) == 0;
        if (isCut || isStart) warn(report_, line.place, "the line is cut: \"" + line.text + "\"");
    }

    const DaemonLog& log_;
    const Boot& boot_;
    Report& report_;
    BootCalls result_;
    std::map<pid_t, size_t> open_;                  // the last call of each thread
    std::vector<std::pair<size_t, size_t>> inner_;  // outer call, and the last one inside of it
};

}  // namespace

BootCalls readCalls(const DaemonLog& log, const Boot& boot, Report& report) {
    return CallReader(log, boot, report).read();
}

size_t chooseClients(std::vector<Call>& calls) {
    size_t overlaps = 0;
    std::vector<size_t> running;
    for (size_t i = 0; i < calls.size(); ++i) {
        Call& call = calls[i];
        const auto hasEnded = [&](size_t other) {
            return calls[other].last < call.first || calls[other].thread == call.thread;
        };
        running.erase(std::remove_if(running.begin(), running.end(), hasEnded), running.end());
        size_t number = 1;
        const auto isTaken = [&](size_t other) {
            return calls[other].client == (number == 1 ? "app" : "app" + std::to_string(number));
        };
        while (std::any_of(running.begin(), running.end(), isTaken)) ++number;
        if (number > 1) call.client = "app" + std::to_string(number);
        if (!running.empty()) ++overlaps;
        for (const size_t other : running) calls[other].isInBackground = true;
        running.push_back(i);
    }
    return overlaps;
}

}  // namespace hidlaudio::host
