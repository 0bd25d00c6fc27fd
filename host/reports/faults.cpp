// SPDX-License-Identifier: Apache-2.0
#include "faults.h"

#include <string.h>

#include <algorithm>
#include <optional>

#include "fault_table.h"

namespace hidlaudio::host {
namespace {

constexpr int kNoContext = -3;
constexpr const char* kKinds[] = {"device", "hrtf"};
/** Wait for the TV's platform: 20 s, with a check every 10 ms. */
constexpr int kMostChecks = 2000;

/** A failed call of a function. */
struct Failure {
    std::string outcome;
    int pass = 0;
    int count = 1;
    Place place;
};

/** The settings of the controller that an upload or cancellation needs, other than the defaults. */
using Behavior = std::map<std::string, std::string>;

std::string defaultOf(const std::string& setting) {
    if (setting.find("result") != std::string::npos) return "1";
    if (setting.find("state") != std::string::npos) return "0";
    return setting.find("rate") != std::string::npos ? "16777216" : "off";
}

/** An upload: the call that has started it, and the lines of its thread. */
struct Upload {
    int call = kNoContext;
    size_t begin = 0;
    std::optional<uint32_t> state;
};

class FaultFinder {
  public:
    FaultFinder(const DaemonLog& log, const Boot& boot, const BootCalls& calls, AllSurroundings& result,
                FaultNotes& notes)
        : log_(log), boot_(boot), calls_(calls), result_(result), notes_(notes) {}

    std::vector<size_t> find() {
        for (size_t i = boot_.first; i < boot_.past; ++i) look(log_.lines[i], i);
        addFaults();
        addBehavior();
        return std::move(uploadLines_);
    }

  private:
    void look(const DaemonLine& line, size_t index) {
        if (line.text == "[paramTransferThread] start") startUpload(line, index);
        const int context = contextOf(line, index);
        lookAtUpload(line, index, context);
        if (context == kNoContext) return;
        if (calls_.owners[index - boot_.first] == kAsynchronousLine && isDaemonTag(line.tag))
            uploadLines_.push_back(index);
        lookForFault(line, context);
        lookForCondition(line, context);
        countChecks(line, context);
        for (const UnknownRow& row : kUnknownRows)
            if (line.tag == row.tag && matchPattern(row.pattern, line.text))
                notes_.unknown.push_back({line.place, row.reason});
    }

    /** Returns the call to which a line belongs. A line of a transfer belongs to the call that started it. */
    int contextOf(const DaemonLine& line, size_t index) const {
        const int owner = calls_.owners[index - boot_.first];
        if (owner != kAsynchronousLine) return owner;
        const auto found = uploads_.find(line.thread);
        return found != uploads_.end() ? found->second.call : kNoContext;
    }

    /** Transfers start in the order of the calls. */
    void startUpload(const DaemonLine& line, size_t index) {
        int call = kNoContext;
        for (size_t i = nextApply_; i < calls_.calls.size() && calls_.calls[i].first < index; ++i) {
            const Call& candidate = calls_.calls[i];
            if (candidate.method != "apply" || integerOf(candidate.results, "result", -1) != 0) continue;
            call = static_cast<int>(i);
            nextApply_ = i + 1;
            break;
        }
        uploads_[line.thread] = {call, index, {}};
    }

    void lookAtUpload(const DaemonLine& line, size_t index, int context) {
        const auto found = uploads_.find(line.thread);
        if (found == uploads_.end() || context != found->second.call || context == kNoContext) return;
        Json fields;
        if (matchPattern("[paramTransferThread] read proc file(state)=0x{state:x}", line.text, fields))
            found->second.state = fields["state"].get<uint32_t>();
        if (matchPattern("[paramTransferThread] read proc file(result)=0x{result:x}", line.text, fields))
            endUpload(line, index, found->second, fields["result"].get<uint32_t>());
    }

    /** Notes the result of an upload, if it has ended. */
    void endUpload(const DaemonLine& line, size_t index, const Upload& upload, uint32_t result) {
        constexpr uint32_t kInProgress = 1;
        constexpr uint32_t kDone = 1;
        constexpr uint32_t kCancelled = 3;
        if (upload.state == kInProgress) return;
        const std::string kind = kindOf(upload.call);
        const bool isInterrupted = keepRunning(upload, index, line);
        Behavior& behavior = behavior_[upload.call];
        if (upload.state.value_or(0) != 0) behavior[kind + " state"] = std::to_string(*upload.state);
        if (result == kDone || (result == kCancelled && isInterrupted)) return;
        behavior[kind + " result"] = std::to_string(result);
        notes_.faults.push_back(
            {line.place, "the controller ends the upload with result " + std::to_string(result)});
    }

    /** Makes an upload so slow that the calls during it come before its end. Returns false without calls. */
    bool keepRunning(const Upload& upload, size_t index, const DaemonLine& line) {
        const bool isInterrupted =
            std::any_of(calls_.calls.begin(), calls_.calls.end(),
                        [&](const Call& call) { return call.first > upload.begin && call.first < index; });
        if (!isInterrupted) return false;
        // As long as the daemon's time-out of 20 s safely allows, because a replay makes the calls slower.
        constexpr int64_t kSeconds = 15;
        const int64_t rate = std::max<int64_t>(1, sizeOf(upload.call) / kSeconds);
        behavior_[upload.call][kindOf(upload.call) + " rate"] = std::to_string(rate);
        notes_.assumptions.push_back({line.place, "the upload takes " + std::to_string(kSeconds) +
                                                      " s, so that the calls during it come before its end"});
        return true;
    }

    /** Returns the size of the buffer that a call uploads. */
    int64_t sizeOf(int number) const {
        const Json handle = calls_.calls[static_cast<size_t>(number)].arguments.value("bufferHandle", Json());
        for (int i = number; i-- > 0;) {
            const Call& call = calls_.calls[static_cast<size_t>(i)];
            if (call.method == "allocateParameterBuffer" &&
                call.results.value("bufferHandle", Json()) == handle)
                return std::max<int64_t>(integerOf(call.arguments, "size", 0), 1);
        }
        return 1 << 20;
    }

    std::string kindOf(int number) const {
        const int kind = number >= 0 ? calls_.calls[static_cast<size_t>(number)].kind : 0;
        return kKinds[kind == 1 ? 1 : 0];
    }

    void lookForFault(const DaemonLine& line, int context) {
        for (const FaultRow& row : kFaultRows) {
            Json fields;
            if (line.tag != row.tag || !matchPattern(row.pattern, line.text, fields)) continue;
            const std::string outcome = isMissingDriver(row.pattern) ? "" : outcomeOf(row, fields, line);
            if (outcome.empty()) return;
            Failure failure{outcome, context == kBootLine ? row.passAtBoot : row.pass, 1, line.place};
            if (context == kBootLine && readsTuning(line) && calibrationWasRead_) ++failure.pass;
            failures_[context][row.function].push_back(failure);
            return;
        }
        if (line.text.find("[getAutoCalibOffset]") == 0) calibrationWasRead_ = true;
    }

    /** Returns whether a line shows only that the TV has no controller, and so no driver of it. */
    bool isMissingDriver(std::string_view pattern) const {
        return !notes_.hasBackEnd && (pattern.find("Proc file open failed") != pattern.npos ||
                                      pattern.find("ToBeCtrl]") != pattern.npos);
    }

    static bool readsTuning(const DaemonLine& line) {
        return bracketedName(line.text) == "readMmCecFromAqdata";
    }

    /** Returns the outcome of a failed call, or "" if it is not a failure that is injected. */
    std::string outcomeOf(const FaultRow& row, const Json& fields, const DaemonLine& line) {
        if (fields.contains("status")) {
            const auto status = fields["status"].get<int64_t>();
            return status != 0 ? std::to_string(status) : "";
        }
        const bool isTuning = fields.contains("tuning");
        if (!isTuning && !fields.contains("errno")) {
            notes_.assumptions.push_back({line.place, std::string(row.function) + " fails with " +
                                                          row.assumed + ", which the log does not have"});
            return row.assumed;
        }
        const int error = fields[isTuning ? "tuning" : "errno"].get<int>();
        // A file that does not exist is a state of the TV. The tuning file always exists there.
        if (error == ENOENT && !isTuning) return "";
        if (error == 0) {
            notes_.unknown.push_back(
                {line.place,
                 std::string(row.function) + " met the end of the file, or was short; that is not injected"});
            return "";
        }
        const char* const name = strerrorname_np(error);
        return name != nullptr ? name : std::to_string(error);
    }

    void lookForCondition(const DaemonLine& line, int context) {
        for (const ConditionRow& row : kConditionRows) {
            if (line.tag != row.tag || !matchPattern(row.pattern, line.text)) continue;
            if (isMissingDriver(row.pattern)) return;
            std::string command = row.before;
            if (const size_t kind = command.find("{kind}"); kind != std::string::npos)
                command.replace(kind, 6, kindOf(context));
            notes_.faults.push_back({line.place, command});
            if (row.after == nullptr) {
                constexpr size_t kName = sizeof("tv bectrl ") - 1;
                behavior_[context][command.substr(kName, command.rfind(' ') - kName)] = "on";
            } else if (auto& lines = result_[context].before;
                       std::find(lines.begin(), lines.end(), command) == lines.end()) {
                lines.push_back(command);
                result_[context].after.emplace_back(row.after);
            }
        }
    }

    /** Counts the checks that found the TV's platform not ready yet. */
    void countChecks(const DaemonLine& line, int context) {
        Json fields;
        int checks = 0;
        const bool logsChecks =
            line.tag == "hidlaudio" || line.tag == "AudioOutSp" || line.tag == "hdmiaudio";
        if (line.text.find("dtv_svc") == std::string::npos) return;
        if (line.text.find(" waiting dtv_svc") != std::string::npos) {
            checks = 1;
        } else if (!logsChecks && line.text.find("rpc server failed") != std::string::npos) {
            checks = kMostChecks;
        } else if (!logsChecks && (matchPattern("{:s}is ready !>>>>> count:{count:i}", line.text, fields))) {
            checks = static_cast<int>(std::clamp<int64_t>(fields["count"].get<int64_t>(), 0, kMostChecks));
        }
        if (checks == 0) return;
        std::vector<Failure>& all = failures_[context]["access"];
        if (all.empty()) all.push_back({"ENOENT", 0, 0, line.place});
        all.front().count += checks;
    }

    /** A function has at most one fault at a time: several failures in one call are one fault. */
    void addFaults() {
        for (const auto& [context, functions] : failures_) {
            for (const auto& [function, failures] : functions) {
                Failure all = failures.front();
                for (size_t i = 1; i < failures.size(); ++i) {
                    const Failure& next = failures[i];
                    if (next.outcome == all.outcome && next.pass <= all.pass + all.count) {
                        all.count = std::max(all.count, next.pass + 1 - all.pass);
                        if (next.pass == failures[i - 1].pass) ++all.count;
                    } else {
                        notes_.unknown.push_back({next.place, "a second fault of " + function +
                                                                  " at the same time is not injected"});
                    }
                }
                std::string text =
                    "tv fault " + function + " " + all.outcome + " " + std::to_string(all.count);
                if (all.pass > 0) text += " " + std::to_string(all.pass);
                notes_.faults.push_back({all.place, text});
                result_[context].before.push_back(text);
            }
        }
    }

    /**
     * Sets the behavior of the controller before each upload that needs another one than the upload before. A
     * refused call uploads nothing, and the upload before it may still be running.
     */
    void addBehavior() {
        Behavior& current = notes_.controller;
        for (size_t i = 0; i < calls_.calls.size(); ++i) {
            const Call& call = calls_.calls[i];
            const auto number = static_cast<int>(i);
            const bool isUpload = call.method == "apply" && integerOf(call.results, "result", -1) == 0;
            if (!isUpload && behavior_.count(number) == 0) continue;
            Behavior wanted = behavior_[number];
            for (const auto& [setting, value] : current) {
                if (concerns(setting, number)) wanted.try_emplace(setting, defaultOf(setting));
            }
            for (const auto& [setting, value] : wanted) {
                if (current[setting] == value) continue;
                current[setting] = value;
                result_[number].before.push_back(
                    std::string("tv bectrl ").append(setting).append(" ").append(value));
            }
        }
    }

    bool concerns(const std::string& setting, int number) const {
        return setting == "open_fails" || setting.find(kindOf(number)) == 0;
    }

    const DaemonLog& log_;
    const Boot& boot_;
    const BootCalls& calls_;
    AllSurroundings& result_;
    FaultNotes& notes_;
    std::vector<size_t> uploadLines_;
    std::map<int, std::map<std::string, std::vector<Failure>>> failures_;
    std::map<int, Behavior> behavior_;
    std::map<pid_t, Upload> uploads_;
    size_t nextApply_ = 0;
    bool calibrationWasRead_ = false;
};

}  // namespace

std::vector<size_t> findFaults(const DaemonLog& log, const Boot& boot, const BootCalls& calls,
                               AllSurroundings& surroundings, FaultNotes& notes) {
    return FaultFinder(log, boot, calls, surroundings, notes).find();
}

}  // namespace hidlaudio::host
