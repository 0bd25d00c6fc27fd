// SPDX-License-Identifier: Apache-2.0
#include "record_calls.h"

#include <algorithm>
#include <map>
#include <set>

namespace hidlaudio::host {
namespace {

using Event = RecordLine::Event;

/** Maximum number of calls of the log that are skipped to find the call of a record. */
constexpr size_t kWindow = 64;

/** Returns the name of a program as a client's name in a scenario. */
std::string cleanName(const std::string& program) {
    std::string name;
    for (const char byte : program.substr(program.rfind('/') + 1)) {
        const bool isPlain =
            (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || (byte >= '0' && byte <= '9');
        name += isPlain ? byte : '_';
    }
    return name.empty() || name == "hidlaudio" || name == "audio_hal" ? "app" : name;
}

bool hasObject(const Json& json) {
    if (json.is_object() && json.contains("object")) return true;
    return json.is_structured() && std::any_of(json.begin(), json.end(), hasObject);
}

/** Replaces the description of a large vector with its place in the file of bytes, or else with zeros. */
void resolveBytes(const Report& report, Json& json, std::set<std::string>& assumed, const std::string& name) {
    if (json.is_object() && json.contains("hash") && json.contains("size")) {
        const Json size = json["size"];
        if (json.contains("offset") && !report.bytes.empty()) {
            json = {{"file", report.bytes.begin()->first}, {"offset", json["offset"]}, {"size", size}};
        } else {
            json = {{"size", size}};
            assumed.insert(name);
        }
    } else if (json.is_structured()) {
        for (Json& member : json) resolveBytes(report, member, assumed, name);
    }
}

class RecordReader {
  public:
    RecordReader(const Report& report, FaultNotes& notes) : report_(report), notes_(notes) {}

    std::vector<RecordedBoot> read() {
        for (const PlacedRecordLine& placed : report_.record) take(placed.line, placed.place);
        return std::move(boots_);
    }

  private:
    void take(const RecordLine& line, const Place& place) {
        if (line.event == Event::Start) {
            boots_.emplace_back();
            boots_.back().process = line.process;
            boots_.back().place = place;
            pending_.clear();
            programs_[line.process] = line.program;
        } else if (line.event == Event::Process) {
            programs_[line.process] = line.program;
        } else if (boots_.empty()) {
            return;
        } else if (line.event == Event::Call && line.isIncoming) {
            addCall(line, place);
        } else if (line.event == Event::Answer) {
            endCall(line);
        } else if (line.event == Event::Exit) {
            addExit(line.process);
        }
    }

    void addCall(const RecordLine& line, const Place& place) {
        if (!line.arguments.is_object()) {
            if (findCallRow(line.method) != nullptr)
                notes_.unknown.push_back({place, "the arguments of " + line.method + " are not recorded"});
            return;
        }
        RecordedBoot& boot = boots_.back();
        Call call;
        call.place = place;
        call.isLogged = false;
        call.thread = line.thread;
        call.interface = line.interface;
        call.method = line.method;
        call.arguments = line.arguments;
        for (auto& [name, value] : call.arguments.items()) resolveBytes(report_, value, call.assumed, name);
        call.client = clientOf(line.client);
        if (hasObject(call.arguments)) withObjects_.insert(line.client);
        for (const auto& [id, number] : pending_) {
            Call& running = boot.calls[number];
            if (running.client != call.client) running.isInBackground = true;
        }
        pending_[line.id] = boot.calls.size();
        boot.calls.push_back(std::move(call));
    }

    void endCall(const RecordLine& line) {
        const auto found = pending_.find(line.id);
        if (found == pending_.end()) return;
        Call& call = boots_.back().calls[found->second];
        call.hasEnded = true;
        if (line.results.is_object()) call.results = line.results;
        pending_.erase(found);
    }

    void addExit(pid_t process) {
        RecordedBoot& boot = boots_.back();
        if (process == boot.process) {
            boot.hasEnded = true;
        } else if (withObjects_.erase(process) > 0) {
            boot.exits.emplace_back(boot.calls.size(), clientOf(process));
        }
        clients_.erase(process);
    }

    std::string clientOf(pid_t process) {
        const auto found = clients_.find(process);
        if (found != clients_.end()) return found->second;
        const std::string program = cleanName(programs_[process]);
        const int number = ++numbers_[program];
        return clients_[process] = number == 1 ? program : program + "_" + std::to_string(number);
    }

    const Report& report_;
    FaultNotes& notes_;
    std::vector<RecordedBoot> boots_;
    std::map<uint64_t, size_t> pending_;  // calls without an answer, by their IDs
    std::map<pid_t, std::string> programs_;
    std::map<pid_t, std::string> clients_;
    std::map<std::string, int> numbers_;
    std::set<pid_t> withObjects_;
};

/** Completes a call of the log with the values of the record. */
void complete(Call& logged, const Call& recorded) {
    logged.interface = recorded.interface;
    logged.arguments = recorded.arguments;
    logged.assumed = recorded.assumed;
    logged.client = recorded.client;
    logged.isInBackground = recorded.isInBackground;
    if (!recorded.results.empty()) logged.results = recorded.results;
}

}  // namespace

std::vector<RecordedBoot> readRecordedBoots(const Report& report, FaultNotes& notes) {
    return RecordReader(report, notes).read();
}

ClientExits addRecordedCalls(const RecordedBoot& recorded, BootCalls& calls) {
    std::vector<Call> merged;
    std::vector<int> moved;  // new index of each call of the log
    std::vector<size_t> positions{0};
    size_t next = 0;
    const auto keepUntil = [&](size_t end) {
        for (; next < end; ++next) {
            moved.push_back(static_cast<int>(merged.size()));
            merged.push_back(std::move(calls.calls[next]));
        }
    };
    for (const Call& call : recorded.calls) {
        size_t found = next;
        const size_t end = std::min(calls.calls.size(), next + kWindow);
        while (found < end && calls.calls[found].method != call.method) ++found;
        if (found < end) {
            keepUntil(found + 1);
            complete(merged.back(), call);
        } else {
            merged.push_back(call);
            merged.back().first = merged.back().last = merged.size() > 1 ? merged[merged.size() - 2].last : 0;
        }
        positions.push_back(merged.size());
    }
    keepUntil(calls.calls.size());
    calls.calls = std::move(merged);
    for (int& owner : calls.owners)
        if (owner >= 0) owner = moved[static_cast<size_t>(owner)];
    ClientExits exits = recorded.exits;
    for (auto& [before, client] : exits) before = positions[before];
    return exits;
}

}  // namespace hidlaudio::host
