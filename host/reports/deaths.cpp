// SPDX-License-Identifier: Apache-2.0
#include "deaths.h"

#include <algorithm>
#include <set>

namespace hidlaudio::host {
namespace {

constexpr char kDied[] = "Monitored process died";
constexpr char kRemoved[] = "remove callback";
constexpr char kUnreachable[] = "[paramTransferThread] the client cannot be told: ";

/** Lines about deaths between two calls. */
struct Deaths {
    std::vector<size_t> lines;
    size_t notices = 0;
    size_t callbacks = 0;  // that were removed
    Place place;
};

class DeathFinder {
  public:
    DeathFinder(const DaemonLog& log, const Boot& boot, BootCalls& calls, std::vector<size_t>& awaited,
                const ClientExits* exits, FaultNotes& notes)
        : log_(log), boot_(boot), calls_(calls), awaited_(awaited), exits_(exits), notes_(notes) {}

    std::vector<Kill> find() {
        size_t next = 0;
        for (size_t i = boot_.first; i < boot_.past; ++i) {
            while (next < calls_.calls.size() && calls_.calls[next].first <= i) {
                end(next);
                ++next;
            }
            look(log_.lines[i], i, next);
        }
        end(next);
        return std::move(kills_);
    }

  private:
    void look(const DaemonLine& line, size_t index, size_t next) {
        if (line.text == kDied || line.text == kRemoved) {
            if (current_.lines.empty()) current_.place = line.place;
            current_.lines.push_back(index);
            ++(line.text == kRemoved ? current_.callbacks : current_.notices);
        } else if (line.text.find(kUnreachable) == 0) {
            noteUnreachable(line, next);
        }
    }

    /** Ends the lines that come before the call with this index. */
    void end(size_t next) {
        if (current_.lines.empty()) return;
        const Deaths deaths = std::move(current_);
        current_ = {};
        const bool isKnown =
            exits_ != nullptr && !exits_->empty() ? killRecorded(deaths, next) : killGuessed(deaths, next);
        if (isKnown) {
            awaited_.insert(awaited_.end(), deaths.lines.begin(), deaths.lines.end());
        } else {
            notes_.unknown.push_back(
                {deaths.place, "a client died that has set its callback before the log begins"});
        }
    }

    /** Kills the next clients that the record shows to end. Each of their callbacks gives a notice. */
    bool killRecorded(const Deaths& deaths, size_t next) {
        size_t notices = 0;
        for (const auto& [before, name] : *exits_) {
            const std::string& client = name;
            const auto setters = static_cast<size_t>(
                std::count_if(calls_.calls.begin(), calls_.calls.begin() + static_cast<ptrdiff_t>(next),
                              [&](const Call& call) { return call.client == client && isSetter(call); }));
            if (setters == 0 || notices >= deaths.notices) continue;
            notices += setters;
            dead_.insert(client);
            kills_.push_back({deaths.lines.front(), client});
        }
        return notices > 0;
    }

    /** Kills the client that has set the last callbacks. */
    bool killGuessed(const Deaths& deaths, size_t next) {
        const size_t count = std::max<size_t>(deaths.callbacks, 1);
        const std::vector<Call*> setters = lastSetters(next, count);
        if (setters.size() < count) return false;
        const std::string client =
            exits_ != nullptr ? setters.front()->client : "watcher" + std::to_string(++count_);
        for (Call* setter : setters) setter->client = client;
        dead_.insert(client);
        kills_.push_back({deaths.lines.front(), client});
        notes_.assumptions.push_back({deaths.place, "the client that died is " + client +
                                                        ", whose callbacks are the last " +
                                                        std::to_string(setters.size()) + " before that"});
        return true;
    }

    bool isSetter(const Call& call) const {
        const bool hasCallback = call.arguments.contains("callback") && !call.arguments["callback"].is_null();
        return call.method == "setCallback" && hasCallback && dead_.count(call.client) == 0;
    }

    /** Returns the last calls before `next` that have set a callback of a living client. */
    std::vector<Call*> lastSetters(size_t next, size_t count) {
        std::vector<Call*> setters;
        for (size_t i = next; i-- > 0 && setters.size() < count;) {
            Call& call = calls_.calls[i];
            if (isSetter(call)) setters.push_back(&call);
        }
        return setters;
    }

    /** The result of an upload could not be delivered: the client was killed after its call. */
    void noteUnreachable(const DaemonLine& line, size_t next) {
        for (size_t i = next; i-- > 0;) {
            Call& call = calls_.calls[i];
            if (call.method != "apply" || dead_.count(call.client) > 0) continue;
            if (exits_ == nullptr) call.client = "uploader" + std::to_string(++uploaders_);
            dead_.insert(call.client);
            kills_.push_back({call.last + 1, call.client});
            notes_.assumptions.push_back(
                {line.place, "the client of the last upload died before its end: " + call.client});
            return;
        }
    }

    const DaemonLog& log_;
    const Boot& boot_;
    BootCalls& calls_;
    std::vector<size_t>& awaited_;
    const ClientExits* const exits_;  // null if the clients are guessed
    FaultNotes& notes_;
    Deaths current_;
    std::set<std::string> dead_;
    std::vector<Kill> kills_;
    int count_ = 0;
    int uploaders_ = 0;
};

}  // namespace

std::vector<Kill> findDeaths(const DaemonLog& log, const Boot& boot, BootCalls& calls,
                             std::vector<size_t>& awaited, const ClientExits* exits, FaultNotes& notes) {
    std::vector<Kill> kills = DeathFinder(log, boot, calls, awaited, exits, notes).find();
    std::sort(awaited.begin(), awaited.end());
    std::stable_sort(kills.begin(), kills.end(),
                     [](const Kill& one, const Kill& other) { return one.line < other.line; });
    return kills;
}

}  // namespace hidlaudio::host
