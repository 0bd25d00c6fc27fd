// SPDX-License-Identifier: Apache-2.0
#include "make_scenario.h"

#include <android-base/strings.h>

#include <algorithm>
#include <iterator>
#include <optional>
#include <set>

#include "calls.h"
#include "deaths.h"
#include "faults.h"
#include "record_calls.h"
#include "scenario_writer.h"
#include "tv_values.h"

namespace hidlaudio::host {
namespace {

using End = DaemonLine::End;

/** Calls with an argument that is not in the report. */
struct Assumed {
    size_t count = 0;
    Place place;        // the first one
    std::string value;  // its argument
};

class ScenarioMaker {
  public:
    ScenarioMaker(Report& report, MadeScenario& scenario) : report_(report), scenario_(scenario) {}

    std::string make() {
        if (const std::string problem = mergeStreams(report_, log_); !problem.empty()) return problem;
        const std::vector<RecordedBoot> recorded = readRecordedBoots(report_, notes_);
        if (log_.lines.empty() && recorded.empty())
            return "no line of the daemon hidlaudio in " +
                   (report_.files.empty() ? "the report" : android::base::Join(report_.files, ", "));
        const ModelFinding model = findModel(log_, report_);
        notes_.hasBackEnd = model.backEnd;
        TvValues values(log_, report_);
        std::vector<FoundBoot> found = findBoots(recorded, values);
        completeCalibrations(found);
        writeScenario(found, model, values);
        writeLog();
        writeNotes(values);
        return "";
    }

  private:
    /** Returns the names of the logs and records. */
    std::string sourceNames() const {
        std::set<size_t> sources;
        for (const DaemonLine& line : log_.lines) sources.insert(line.place.file);
        for (const PlacedRecordLine& placed : report_.record) sources.insert(placed.place.file);
        std::vector<std::string> names;
        names.reserve(sources.size());
        for (const size_t source : sources) names.push_back(report_.files[source]);
        return withoutNewline(android::base::Join(names, ", "));
    }

    std::vector<FoundBoot> findBoots(const std::vector<RecordedBoot>& recorded, TvValues& values) {
        std::vector<FoundBoot> found;
        std::set<const RecordedBoot*> used;
        for (const Boot& boot : log_.boots) {
            const auto record = std::find_if(recorded.begin(), recorded.end(), [&](const RecordedBoot& each) {
                return each.process == boot.process && used.count(&each) == 0;
            });
            const RecordedBoot* const chosen = record != recorded.end() ? &*record : nullptr;
            used.insert(chosen);
            found.push_back(findBoot(boot, chosen, values));
        }
        for (const RecordedBoot& boot : recorded) {
            if (log_.boots.empty()) {
                found.push_back(findRecordedBoot(boot));
            } else if (used.count(&boot) == 0) {
                warn(report_, boot.place, "the log has no line of this process; its record is left out");
            }
        }
        return found;
    }

    FoundBoot findBoot(const Boot& boot, const RecordedBoot* recorded, TvValues& values) {
        FoundBoot found;
        found.boot = boot;
        found.calls = readCalls(log_, boot, report_);
        ClientExits exits;
        if (recorded != nullptr) {
            exits = addRecordedCalls(*recorded, found.calls);
            inferences_.push_back({recorded->place, "calls, clients and arguments are those of the record"});
        } else if (const size_t overlaps = chooseClients(found.calls.calls); overlaps > 0) {
            notes_.assumptions.push_back(
                {log_.lines[boot.first].place,
                 std::to_string(overlaps) + " calls overlap in time, so they come from several clients"});
        }
        values.follow(boot, found.calls, found.around);
        found.awaited = findFaults(log_, boot, found.calls, found.around, notes_);
        found.kills = findDeaths(log_, boot, found.calls, found.awaited,
                                 recorded != nullptr ? &exits : nullptr, notes_);
        addKills(exits, found);
        noteBoot(found);
        return found;
    }

    /** Adds the exits of clients that the log does not show. */
    static void addKills(const ClientExits& exits, FoundBoot& found) {
        for (const auto& [position, client] : exits) {
            const bool isLogged =
                std::any_of(found.kills.begin(), found.kills.end(),
                            [name = client](const Kill& kill) { return kill.client == name; });
            if (!isLogged && position > 0)
                found.around[static_cast<int>(position) - 1].after.push_back("kill " + client);
        }
    }

    FoundBoot findRecordedBoot(const RecordedBoot& recorded) {
        FoundBoot found;
        found.boot.process = recorded.process;
        found.boot.end = recorded.hasEnded ? End::Killed : End::None;
        found.boot.endPlace = recorded.place;
        addKills(addRecordedCalls(recorded, found.calls), found);
        for (Call& call : found.calls.calls) noteAssumed(call);
        return found;
    }

    void noteBoot(const FoundBoot& found) {
        const Boot& boot = found.boot;
        const Place& place = log_.lines[boot.first].place;
        if (!boot.hasStart)
            notes_.assumptions.push_back(
                {place,
                 "the log has no start of this process; the scenario starts it in the "
                 "state that its first lines show"});
        if (boot.end != End::None) {
            const char* const how = boot.end == End::Killed ? "was killed" : "ended by itself";
            inferences_.push_back({boot.endPlace, "the daemon " + std::string(how)});
        } else if (boot.past < log_.lines.size()) {
            notes_.assumptions.push_back({log_.lines[boot.past - 1].place,
                                          "another process of the daemon follows, so this one was killed"});
        }
    }

    /** Remembers the arguments of a call that are assumed, once per method and argument. */
    void noteAssumed(Call& call) {
        for (const std::string& name : call.assumed) {
            Assumed& assumed = assumed_[call.method + ": " + name];
            if (assumed.count++ > 0) continue;
            assumed.place = call.place;
            assumed.value = jsonText(call.arguments[name]);
        }
    }

    /** Finds the data of the calls that have stored results of the calibration. */
    void completeCalibrations(std::vector<FoundBoot>& found) {
        Call* last = nullptr;
        for (FoundBoot& boot : found) {
            for (Call& call : boot.calls.calls) {
                if (call.method != "setCalibratedData" || call.assumed.count("data") == 0) continue;
                last = &call;
                setLevel(boot, call);
            }
        }
        const auto stored = report_.contents.find(kCalibrationFile);
        const Json data =
            stored != report_.contents.end() ? calibrationOf(stored->second.value) : Json::array();
        if (last != nullptr && !data.empty() && last->hasEnded) {
            last->arguments["data"] = data;
            last->assumed.erase("data");
            inferences_.push_back(
                {stored->second.place, "the data of the last setCalibratedData are those of the file"});
        }
        for (FoundBoot& boot : found)
            if (!log_.boots.empty())
                for (Call& call : boot.calls.calls) noteAssumed(call);
    }

    /** Takes the level of the front-left channel from the next switch of the calibration. */
    void setLevel(const FoundBoot& found, Call& call) {
        const Json& data = call.arguments["data"];
        if (!data.is_array() || data.empty() || !data[0].is_object()) return;
        for (size_t i = call.last + 1; i < found.boot.past; ++i) {
            const DaemonLine& line = log_.lines[i];
            if (line.text == "[setCalibratedData] start") return;
            if (!matchPattern("[getAutoCalibOffset] offsetLevel:{data/0/level:f}dB", line.text,
                              call.arguments))
                continue;
            inferences_.push_back(
                {line.place, "the level of the calibration results that were stored before"});
            return;
        }
    }

    void writeScenario(const std::vector<FoundBoot>& found, const ModelFinding& model, TvValues& values) {
        inferences_.insert(inferences_.end(), model.notes.begin(), model.notes.end());
        notes_.assumptions.insert(notes_.assumptions.end(), model.assumptions.begin(),
                                  model.assumptions.end());
        scenario_.setup = setupLines(model, values);
        scenario_.text = "# What a bug report shows: " + sourceNames() + "\n";
        for (const std::string& line : scenario_.setup) scenario_.text += line + "\n";
        callNotes_ = writeBoots(log_, found, scenario_);
        scenario_.sources = report_.bytes;
    }

    std::vector<std::string> setupLines(const ModelFinding& model, TvValues& values) {
        std::vector<std::string> lines{std::string("tv init --model ") + (model.backEnd ? "be" : "standard") +
                                       (model.centreInput ? " --centre-input" : "")};
        if (model.centreSynchronized != model.centreInput)
            lines.push_back(std::string("tv eeprom 0x10116 ") + (model.centreSynchronized ? "1" : "0"));
        for (const std::string& line : values.initialLines()) lines.push_back(line);
        const auto tuning = report_.contents.find(kTuningFile);
        if (tuning != report_.contents.end()) scenario_.files["aqda.bin"] = tuning->second.value;
        return lines;
    }

    void writeLog() {
        for (const DaemonLine& line : log_.lines)
            scenario_.log +=
                formatLogLine({line.time, line.process, line.thread, line.level, line.tag, line.text});
    }

    void writeNotes(const TvValues& values) {
        inferences_.insert(inferences_.end(), values.notes.begin(), values.notes.end());
        addNotes("Inferred", inferences_);
        addNotes("Calls", callNotes_);
        addNotes("Faults", notes_.faults);
        std::vector<Note> assumptions = notes_.assumptions;
        for (const auto& [name, uses] : assumed_)
            assumptions.push_back({uses.place, name + " is not in the report; assumed (calls: " +
                                                   std::to_string(uses.count) + "): " + uses.value});
        addNotes("Assumed", assumptions);
        std::vector<Note> unknown = notes_.unknown;
        unknown.insert(unknown.end(), values.unknown.begin(), values.unknown.end());
        addNotes("Not repeated", unknown);
        scenario_.notes += "Warnings\n";
        for (const std::string& warning : report_.warnings)
            scenario_.notes += "  " + withoutNewline(warning) + "\n";
        scenario_.faults = notes_.faults.size();
        scenario_.assumptions = assumptions.size() + unknown.size();
        scenario_.warnings = report_.warnings.size();
    }

    void addNotes(const char* title, const std::vector<Note>& notes) {
        scenario_.notes += std::string(title) + "\n";
        for (const Note& note : notes) {
            const bool hasPlace = note.place.file < report_.files.size();
            scenario_.notes += "  " + (hasPlace ? nameOf(report_, note.place) + ": " : "") +
                               withoutNewline(note.text) + "\n";
        }
        scenario_.notes += "\n";
    }

    Report& report_;
    MadeScenario& scenario_;
    DaemonLog log_;
    FaultNotes notes_;
    std::vector<Note> inferences_;
    std::vector<Note> callNotes_;
    std::map<std::string, Assumed> assumed_;
};

}  // namespace

std::string makeScenario(Report& report, MadeScenario& scenario) {
    return ScenarioMaker(report, scenario).make();
}

}  // namespace hidlaudio::host
