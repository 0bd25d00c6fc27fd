// SPDX-License-Identifier: Apache-2.0
#include "record_line.h"

#include <stdio.h>
#include <time.h>

#include <limits>
#include <string_view>

#include "host/program/json.h"

namespace hidlaudio::host {
namespace {

using Event = RecordLine::Event;

constexpr uint64_t kFormat = 1;

constexpr std::pair<const char*, Event> kEvents[] = {
    {"start", Event::Start},   {"process", Event::Process}, {"call", Event::Call},
    {"answer", Event::Answer}, {"exit", Event::Exit},       {"note", Event::Note},
};

/** Reads the members of a line. Remembers the first one that is missing or wrong. */
class Members {
  public:
    explicit Members(const Json& json) : json_(json) {}

    /** Reads a member that must have the type of `value`. A pid is not negative, and Json is an object. */
    template <typename Value>
    void read(const char* name, Value& value) {
        const auto found = json_.find(name);
        bool isValid = found != json_.end();
        if constexpr (std::is_integral_v<Value>) {
            isValid = isValid && found->is_number_unsigned() &&
                      found->get<uint64_t>() <= uint64_t{std::numeric_limits<Value>::max()};
        } else if constexpr (std::is_floating_point_v<Value>) {
            isValid = isValid && found->is_number();
        } else {
            isValid = isValid && (std::is_same_v<Value, Json> ? found->is_object() : found->is_string());
        }
        if (!isValid) return fail(name);
        value = found->get<Value>();
    }
    /** Reads a member that may be missing. */
    template <typename Value>
    void readOptional(const char* name, Value& value) {
        value = {};
        if (has(name)) read(name, value);
    }
    bool has(const char* name) const { return json_.contains(name); }
    void fail(const char* name) {
        if (problem_.empty()) problem_ = "\"" + std::string(name) + "\" is missing or invalid";
    }
    const std::string& problem() const { return problem_; }

  private:
    const Json& json_;
    std::string problem_;
};

void readStart(Members& members, RecordLine& line) {
    uint64_t format = 0;
    members.read("format", format);
    if (format != kFormat) members.fail("format");
    members.read("process", line.process);
    members.read("program", line.program);
    members.read("date", line.date);
}

void readCall(Members& members, RecordLine& line) {
    std::string direction;
    members.read("id", line.id);
    members.read("thread", line.thread);
    members.read("direction", direction);
    if (direction != "in" && direction != "out") members.fail("direction");
    line.isIncoming = direction == "in";
    if (line.isIncoming) members.read("client", line.client);
    members.read("interface", line.interface);
    members.read("method", line.method);
    members.readOptional("arguments", line.arguments);
}

void readAnswer(Members& members, RecordLine& line) {
    members.read("id", line.id);
    line.duration = -1;
    if (!members.has("failed")) members.read("duration", line.duration);
    members.readOptional("results", line.results);
}

void readMembers(Members& members, RecordLine& line) {
    members.read("time", line.time);
    switch (line.event) {
        case Event::Start:
            return readStart(members, line);
        case Event::Call:
            return readCall(members, line);
        case Event::Answer:
            return readAnswer(members, line);
        case Event::Process:
            members.readOptional("program", line.program);
            return members.read("process", line.process);
        case Event::Exit:
            return members.read("process", line.process);
        case Event::Note:
            return members.read("text", line.text);
    }
}

}  // namespace

std::string parseRecordLine(const std::string& text, RecordLine& line) {
    const Json json = parseJson(text);
    if (!json.is_object()) return "not an object of JSON with at most 100 levels";
    Members members(json);
    std::string name;
    members.read("event", name);
    for (const auto& [known, event] : kEvents) {
        if (name != known) continue;
        line.event = event;
        readMembers(members, line);
        return members.problem();
    }
    return name.empty() ? members.problem() : "unknown event \"" + name + "\"";
}

double recordTime() {
    timespec now{};
    clock_gettime(CLOCK_BOOTTIME, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

std::string exitLine(pid_t process) {
    char line[100];
    snprintf(line, sizeof(line), "{\"event\":\"exit\",\"time\":%.6f,\"process\":%d}\n", recordTime(),
             process);
    return line;
}

}  // namespace hidlaudio::host
