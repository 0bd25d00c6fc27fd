// SPDX-License-Identifier: Apache-2.0
#include "scenario_writer.h"

#include <algorithm>
#include <map>
#include <set>
#include <utility>

#include "call_table.h"

namespace hidlaudio::host {
namespace {

class ScenarioWriter {
  public:
    ScenarioWriter(const DaemonLog& log, MadeScenario& scenario) : log_(log), scenario_(scenario) {}

    void add(const std::string& line) { scenario_.text += line + "\n"; }

    void addBoot(const FoundBoot& found, bool isLast) {
        handles_.clear();
        addAll(found.around, kBootLine, &Surroundings::before);
        add("tv boot");
        ++scenario_.boots;
        addAll(found.around, kBootLine, &Surroundings::after);
        Position position;
        for (size_t i = 0; i < found.calls.calls.size(); ++i) {
            const Call& call = found.calls.calls[i];
            addEvents(found, call.first, position);
            const auto number = static_cast<int>(i);
            addAll(found.around, number, &Surroundings::before);
            addCall(call);
            addAll(found.around, number, &Surroundings::after);
        }
        addEvents(found, SIZE_MAX, position);
        addEnd(found.boot, isLast);
    }

    size_t clients() const { return clients_.size(); }
    std::vector<Note> takeCalls() { return std::move(calls_); }

  private:
    void addAll(const AllSurroundings& around, int context, std::vector<std::string> Surroundings::* lines) {
        const auto found = around.find(context);
        if (found == around.end()) return;
        for (const std::string& line : found->second.*lines) add(line);
    }

    /** The next asynchronous line and the next kill of a boot. */
    struct Position {
        size_t awaited = 0;
        size_t kill = 0;
    };

    /** Adds the kills and awaited lines before a line of the log. */
    void addEvents(const FoundBoot& found, size_t line, Position& next) {
        for (; next.kill < found.kills.size() && found.kills[next.kill].line <= line; ++next.kill) {
            next.awaited = addAwaits(found, next.awaited, found.kills[next.kill].line);
            add("kill " + found.kills[next.kill].client);
        }
        next.awaited = addAwaits(found, next.awaited, line);
    }

    /** Adds lines that await the last asynchronous line before a line of the log. Returns the next one. */
    size_t addAwaits(const FoundBoot& found, size_t begin, size_t line) {
        size_t end = begin;
        while (end < found.awaited.size() && found.awaited[end] < line) ++end;
        if (end == begin) return end;
        // An earlier line with the same text must not be taken for it.
        const std::string& text = log_.lines[found.awaited[end - 1]].text;
        for (size_t i = begin; i < end; ++i)
            if (log_.lines[found.awaited[i]].text == text) add("await " + withoutNewline(text));
        return end;
    }

    void addCall(const Call& call) {
        std::string line = "client " + call.client + " " + interfaceOf(call) + "." + call.method;
        const Json arguments = argumentsOf(call);
        if (!arguments.empty()) line += " " + jsonText(arguments);
        line += variableOf(call);
        if (call.isInBackground) line += " &";
        add(line);
        clients_.insert(call.client);
        calls_.push_back({call.place, call.client + " " + call.method + answerOf(call)});
        ++scenario_.calls;
    }

    static std::string answerOf(const Call& call) {
        if (!call.hasEnded) return ", whose end is not logged";
        return call.results.empty() ? "" : " " + jsonText(call.results);
    }

    static std::string interfaceOf(const Call& call) {
        const CallRow* const row = findCallRow(call.method);
        const size_t colon = call.interface.rfind(':');
        const bool isNewest =
            row != nullptr && call.interface == row->interface && colon != std::string::npos;
        return isNewest ? call.interface.substr(colon + 1) : call.interface;
    }

    Json argumentsOf(const Call& call) const {
        Json arguments = call.arguments;
        const auto handle = arguments.find("bufferHandle");
        if (handle == arguments.end() || !handle->is_number_integer()) return arguments;
        const auto known = handles_.find(handle->get<int64_t>());
        if (known != handles_.end()) *handle = "$" + known->second;
        return arguments;
    }

    /** Returns " > VARIABLE" for a call that returns a handle. */
    std::string variableOf(const Call& call) {
        const Json handle = call.results.value("bufferHandle", Json());
        if (call.method != "allocateParameterBuffer" || !handle.is_number_integer() ||
            handle.get<int64_t>() <= 0)
            return "";
        const std::string name = "h" + std::to_string(++variables_);
        handles_[handle.get<int64_t>()] = name;
        return " > " + name;
    }

    void addEnd(const Boot& boot, bool isLast) {
        using End = DaemonLine::End;
        if (boot.end == End::Killed || (boot.end == End::None && !isLast)) add("kill hidlaudio");
    }

    const DaemonLog& log_;
    MadeScenario& scenario_;
    std::map<int64_t, std::string> handles_;  // names of the variables by the handles of the log
    std::set<std::string> clients_;
    std::vector<Note> calls_;
    int variables_ = 0;
};

}  // namespace

std::vector<Note> writeBoots(const DaemonLog& log, const std::vector<FoundBoot>& boots,
                             MadeScenario& scenario) {
    ScenarioWriter writer(log, scenario);
    for (const FoundBoot& boot : boots) writer.addBoot(boot, &boot == &boots.back());
    scenario.clients = writer.clients();
    return writer.takeCalls();
}

std::string withoutNewline(std::string text) {
    text.erase(
        std::remove_if(text.begin(), text.end(), [](char byte) { return byte == '\n' || byte == '\r'; }),
        text.end());
    return text;
}

}  // namespace hidlaudio::host
