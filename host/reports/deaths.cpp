// SPDX-License-Identifier: Apache-2.0
#include "deaths.h"

#include <algorithm>

namespace hidlaudio::host {
namespace {

constexpr char kDied[] = "Monitored process died";
constexpr char kRemoved[] = "remove callback";
constexpr char kUnreachable[] = "[paramTransferThread] the client cannot be told: ";

/** Lines about deaths between two calls. */
struct Deaths {
    std::vector<size_t> lines;
    size_t callbacks = 0;
    Place place;
};

class DeathFinder {
  public:
    DeathFinder(const DaemonLog& log, const Boot& boot, BootCalls& calls, AllSurroundings& surroundings,
                FaultNotes& notes)
        : log_(log), boot_(boot), calls_(calls), surroundings_(surroundings), notes_(notes) {}

    std::vector<size_t> find() {
        size_t next = 0;
        for (size_t i = boot_.first; i < boot_.past; ++i) {
            while (next < calls_.calls.size() && calls_.calls[next].first <= i) {
                end(next);
                ++next;
            }
            look(log_.lines[i], i, next);
        }
        end(next);
        return std::move(awaited_);
    }

  private:
    void look(const DaemonLine& line, size_t index, size_t next) {
        if (line.text == kDied || line.text == kRemoved) {
            if (current_.lines.empty()) current_.place = line.place;
            current_.lines.push_back(index);
            if (line.text == kRemoved) ++current_.callbacks;
        } else if (line.text.find(kUnreachable) == 0) {
            noteUnreachable(line, next);
        }
    }

    /** Ends the lines that come before the call with this index. */
    void end(size_t next) {
        if (current_.lines.empty()) return;
        const Deaths deaths = std::move(current_);
        current_ = {};
        const std::vector<Call*> setters = lastSetters(next, deaths.callbacks);
        if (setters.size() < deaths.callbacks || setters.empty()) {
            notes_.unknown.push_back(
                {deaths.place, "a client died that has set its callback before the log begins"});
            return;
        }
        const std::string client = "watcher" + std::to_string(++count_);
        for (Call* setter : setters) setter->client = client;
        surroundings_[static_cast<int>(next) - 1].after.push_back("kill " + client);
        awaited_.insert(awaited_.end(), deaths.lines.begin(), deaths.lines.end());
        notes_.assumptions.push_back({deaths.place, "the client that died is the one that has set the last " +
                                                        std::to_string(setters.size()) +
                                                        " callbacks before that: " + client});
    }

    /** Returns the last calls before `next` that have set a callback of a living client. */
    std::vector<Call*> lastSetters(size_t next, size_t count) {
        std::vector<Call*> setters;
        for (size_t i = next; i-- > 0 && setters.size() < count;) {
            Call& call = calls_.calls[i];
            const bool isSetter = call.method == "setCallback" && !call.arguments["callback"].is_null();
            if (isSetter && call.client.find("watcher") != 0) setters.push_back(&call);
        }
        return setters;
    }

    /** The result of an upload could not be delivered: the client was killed after its call. */
    void noteUnreachable(const DaemonLine& line, size_t next) {
        for (size_t i = next; i-- > 0;) {
            Call& call = calls_.calls[i];
            if (call.method != "apply" || call.client.find("uploader") == 0) continue;
            call.client = "uploader" + std::to_string(++uploaders_);
            surroundings_[static_cast<int>(i)].after.push_back("kill " + call.client);
            notes_.assumptions.push_back(
                {line.place, "the client of the last upload died before its end: " + call.client});
            return;
        }
    }

    const DaemonLog& log_;
    const Boot& boot_;
    BootCalls& calls_;
    AllSurroundings& surroundings_;
    FaultNotes& notes_;
    Deaths current_;
    std::vector<size_t> awaited_;
    int count_ = 0;
    int uploaders_ = 0;
};

}  // namespace

void findDeaths(const DaemonLog& log, const Boot& boot, BootCalls& calls, AllSurroundings& surroundings,
                std::vector<size_t>& awaited, FaultNotes& notes) {
    const std::vector<size_t> deaths = DeathFinder(log, boot, calls, surroundings, notes).find();
    awaited.insert(awaited.end(), deaths.begin(), deaths.end());
    std::sort(awaited.begin(), awaited.end());
}

}  // namespace hidlaudio::host
