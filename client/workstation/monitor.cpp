// SPDX-License-Identifier: Apache-2.0
#include <android-base/stringprintf.h>
#include <stdio.h>
#include <strings.h>
#include <time.h>

#include <algorithm>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <vector>

#include "client/commands.h"
#include "client/services/known_services.h"
#include "host/program/interrupt.h"
#include "host/program/standard_streams.h"
#include "host/recording/record_control.h"
#include "host/recording/record_line.h"
#include "host/recording/record_tail.h"
#include "host/tv_files/regular_file.h"
#include "host/tv_files/tv_root.h"

namespace hidlaudio::client {
namespace {

using android::base::StringPrintf;
using host::RecordLine;
using Json = nlohmann::ordered_json;
using Event = RecordLine::Event;

struct Options {
    std::vector<std::string> services;
    std::vector<std::string> clients;  // process IDs or program names
    std::vector<std::string> methods;
    bool all = false;  // whether to print calls of IBase too
};

/** A call of the daemon, or one that it makes. */
struct Call {
    RecordLine start;
    std::string program;  // of the client, if it is known
};

/** Returns "IMicControl" for "com.tovi.dtv.hardware.audio@6.1::IMicControl". */
std::string bareName(const std::string& interface) {
    return interface.substr(interface.rfind(':') + 1);
}

/** Returns "IMicControl@6.1". */
std::string shortName(const std::string& interface) {
    const size_t at = interface.find('@');
    const size_t colon = interface.find(':');
    return bareName(interface) + interface.substr(at, colon - at);
}

bool isService(const std::string& wanted, const std::string& interface) {
    const auto known = parseServiceName(wanted);
    const std::string name = bareName(known ? known->interface : wanted);
    return strcasecmp(bareName(interface).c_str(), name.c_str()) == 0;
}

template <typename Matches>
bool isAny(const std::vector<std::string>& wanted, Matches matches) {
    return wanted.empty() || std::any_of(wanted.begin(), wanted.end(), matches);
}

bool isWanted(const Options& options, const Call& call) {
    const RecordLine& start = call.start;
    const bool isOfBase = start.arguments.is_null();
    return (options.all || !isOfBase || !options.methods.empty()) &&
           isAny(options.services,
                 [&](const std::string& service) { return isService(service, start.interface); }) &&
           isAny(options.clients,
                 [&](const std::string& client) {
                     return start.isIncoming &&
                            (client == call.program || client == std::to_string(start.client));
                 }) &&
           isAny(options.methods, [&](const std::string& method) { return method == start.method; });
}

/** Returns the values as "name=value, name=value". */
std::string describe(const Json& values) {
    if (values.is_null()) return "?";
    std::string text;
    for (const auto& [name, value] : values.items())
        text += (text.empty() ? "" : ", ") + name + "=" +
                value.dump(-1, ' ', false, Json::error_handler_t::replace);
    return text;
}

/** Returns the time of day of a time of the record. */
std::string timeOfDay(double time) {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    const double date = static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9 -
                        (host::recordTime() - time);
    const auto seconds = static_cast<time_t>(date);
    tm local{};
    localtime_r(&seconds, &local);
    const int milliseconds = static_cast<int>((date - static_cast<double>(seconds)) * 1000);
    return StringPrintf("%02d:%02d:%02d.%03d", local.tm_hour, local.tm_min, local.tm_sec, milliseconds);
}

std::string describeCaller(const Call& call) {
    if (!call.start.isIncoming) return "hidlaudio";
    const std::string pid = std::to_string(call.start.client);
    return call.program.empty() ? "process " + pid : call.program + "(" + pid + ")";
}

/** @param answer null if the daemon ended before it */
std::string describeAnswer(const RecordLine* answer) {
    if (answer == nullptr) return "no answer: the daemon ended";
    if (answer->duration < 0) return "failed";
    return StringPrintf("(%s) %.3f ms", describe(answer->results).c_str(), answer->duration * 1000);
}

Json toJson(const Call& call, const RecordLine* answer) {
    const RecordLine& start = call.start;
    Json json{{"time", start.time}, {"thread", start.thread}, {"direction", start.isIncoming ? "in" : "out"}};
    if (start.isIncoming) json["client"] = start.client;
    if (!call.program.empty()) json["program"] = call.program;
    json["interface"] = start.interface;
    json["method"] = start.method;
    if (!start.arguments.is_null()) json["arguments"] = start.arguments;
    const bool isAnswered = answer != nullptr && answer->duration >= 0;
    if (isAnswered && !answer->results.is_null()) json["results"] = answer->results;
    json["duration"] = isAnswered ? Json(answer->duration) : Json();
    return json;
}

/** Joins the lines of a record to calls, and prints them. */
class Monitor {
  public:
    Monitor(const Options& options, bool json) : options_(options), json_(json) {}

    void take(const RecordLine& line) {
        if (line.event == Event::Process) programs_[line.process] = line.program;
        if (line.event == Event::Call) open_[line.id] = {line, line.isIncoming ? programs_[line.client] : ""};
        if (line.event == Event::Start) forgetCalls();
        const auto found = line.event == Event::Answer ? open_.find(line.id) : open_.end();
        if (found == open_.end()) return;
        print(found->second, &line);
        open_.erase(found);
    }

  private:
    /** Prints the calls of a daemon that has ended. */
    void forgetCalls() {
        for (const auto& [id, call] : open_) print(call, nullptr);
        open_.clear();
    }

    void print(const Call& call, const RecordLine* answer) const {
        if (!isWanted(options_, call)) return;
        if (json_) {
            printf("%s\n", toJson(call, answer).dump(-1, ' ', false, Json::error_handler_t::replace).c_str());
            return;
        }
        printf("%s %s -> %s %s(%s) -> %s\n", timeOfDay(call.start.time).c_str(), describeCaller(call).c_str(),
               shortName(call.start.interface).c_str(), call.start.method.c_str(),
               describe(call.start.arguments).c_str(), describeAnswer(answer).c_str());
    }

    const Options& options_;
    bool json_;
    std::map<uint64_t, Call> open_;
    std::map<pid_t, std::string> programs_;
};

/** Prints the calls until Ctrl-C or the end of the record. Returns an error message, or "". */
std::string follow(const std::string& file, host::RecordTail& tail, Monitor& monitor,
                   const host::Interrupt& interrupt, bool& isInterrupted) {
    for (bool isRecorded = true; isRecorded && !isInterrupted;) {
        // Checked before the lines are read, so that the last lines of the record are printed.
        isRecorded = host::recordedFile() == file;
        for (const std::string& text : tail.takeLines()) {
            RecordLine line;
            if (const std::string problem = host::parseRecordLine(text, line); !problem.empty())
                return file + ": " + problem;
            if (line.event == Event::Note) return line.text;
            monitor.take(line);
        }
        isInterrupted = !host::flushOutput() || !host::isOutputRead() || interrupt.cameWithin(20);
    }
    return "";
}

/** Makes the daemon record to a temporary file while the object lives. */
class OwnRecord {
  public:
    OwnRecord() {
        host::RecordOptions options;
        options.file = file_;
        problem_ = host::startRecord(options, &lock_);
        if (!problem_.empty()) return;
        isReady_ = host::configureDaemon();
    }
    ~OwnRecord() {
        if (!problem_.empty()) return;
        if (const std::string problem = host::discardOwnRecord(file_); !problem.empty()) note(problem);
        host::configureDaemon();
    }
    OwnRecord(const OwnRecord&) = delete;
    OwnRecord& operator=(const OwnRecord&) = delete;

    const std::string& problem() const { return problem_; }
    bool isReady() const { return *isReady_; }

  private:
    const std::string file_ = host::tvRoot() + "/run/monitor.jsonl";
    std::string problem_;
    host::RecordLock lock_;
    std::shared_ptr<const std::atomic<bool>> isReady_;
};

/** Prints the calls of a record, which is a temporary one if no other program records. */
std::string monitorOnce(Monitor& monitor, const host::Interrupt& interrupt, bool& isInterrupted) {
    using From = host::RecordTail::From;
    const bool isOwn = host::recordedFile().empty();
    const auto own = isOwn ? std::make_unique<OwnRecord>() : nullptr;
    const std::string file = host::recordedFile();
    if (isOwn && !own->problem().empty())
        return file.empty() ? own->problem() : "";  // another program was faster
    if (file.empty()) return "";                    // it has just ended
    host::RecordTail tail(file, isOwn ? From::Start : From::End);
    if (tail.error() != 0) return host::fileError(file, tail.error());
    while (isOwn && !own->isReady() && !isInterrupted) isInterrupted = interrupt.cameWithin(20);
    if (isInterrupted) return "";
    note("monitoring the calls; stop with Ctrl-C");
    return follow(file, tail, monitor, interrupt, isInterrupted);
}

int run(const Options& options, bool json) {
    const host::Interrupt interrupt;
    Monitor monitor(options, json);
    bool isInterrupted = false;
    std::string problem;
    while (!isInterrupted && problem.empty()) problem = monitorOnce(monitor, interrupt, isInterrupted);
    return problem.empty() ? kDone : fail(kRefused, problem);
}

}  // namespace

void addMonitor(host::Command app, Invocation& invocation) {
    const auto options = std::make_shared<Options>();
    const host::Command command = addCommand(
        app, invocation, "monitor", "Print the calls of the daemon as they end, until Ctrl-C",
        R"(Prints a line for each call, when it has ended: time, caller, interface, method, arguments, results
and duration. "hidlaudio" as the caller is a call of the daemon to a callback or to the audio HAL. With
--json each line is an object with the members of docs/recording.md.

Each filter can be given several times; a call is printed if it matches one value of each filter. Calls
that all HIDL interfaces have, such as ping, are printed only with --all or --method.

Switches the recording of calls on. If `tv record` or `tv boot --record` writes a record, prints its new
calls.

Examples:
  audioctl monitor --service hdmi --service IHdmiAudioCallback
  audioctl monitor --client audioctl --method append --json)",
        [options, &invocation] { return run(*options, invocation.json); });
    const auto addFilter = [command](const char* name, std::vector<std::string>& values, const char* type,
                                     const char* help) {
        command.option(name, type, values, help).onceEach().notEmpty();
    };
    addFilter("--service", options->services, "NAME",
              "Print only calls to this interface, in any version, by its\n"
              "name or as in `audioctl list`");
    addFilter("--client", options->clients, "PID|PROGRAM", "Print only calls of this client");
    addFilter("--method", options->methods, "NAME", "Print only calls of this method");
    command.flag("--all", options->all, "Also print calls that all interfaces have");
}

}  // namespace hidlaudio::client
