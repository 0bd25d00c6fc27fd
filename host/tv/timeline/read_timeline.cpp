// SPDX-License-Identifier: Apache-2.0
#include <errno.h>

#include <algorithm>
#include <deque>
#include <fstream>
#include <map>
#include <utility>
#include <vector>

#include "host/recording/record_line.h"
#include "host/tv_files/regular_file.h"
#include "timeline.h"

namespace hidlaudio::host {
namespace {

using Json = nlohmann::ordered_json;
using Event = RecordLine::Event;
using Outcome = Bar::Outcome;

struct OpenCall {
    RecordLine start;
    size_t depth = 0;              // on the daemon's thread
    std::vector<uint64_t> inside;  // the calls of the thread that enclose it, outermost first
};

struct PendingUpload {
    double begin;
    std::string name;
};

/** Builds the lanes line by line. */
class Builder {
  public:
    explicit Builder(Timeline& timeline) : timeline_(timeline) {}

    /** Returns an error message, or "". */
    std::string take(RecordLine line) {
        if (daemon_ == 0 && line.event != Event::Start)
            return "the record does not begin with the event \"start\"";
        if (origin_ < 0) origin_ = line.time;
        line.time = std::max(line.time - origin_, 0.0);
        timeline_.end = std::max(timeline_.end, line.time);
        switch (line.event) {
            case Event::Start:
                begin(line);
                return "";
            case Event::Process:
                programs_[line.process] = line.program;
                return "";
            case Event::Call:
                open(line);
                return "";
            case Event::Answer:
                return close(line);
            case Event::Exit:
                exit(line);
                return "";
            case Event::Note:
                threadLane(daemon_).marks.push_back({line.time, line.text});
                return "";
        }
        return "";
    }

    void finish() {
        loseCalls(timeline_.end);
        // The clients come first.
        std::stable_partition(timeline_.lanes.begin(), timeline_.lanes.end(),
                              [](const Lane& one) { return one.thread == 0; });
    }

  private:
    Lane& lane(const std::string& name, const std::string& processName, pid_t process, pid_t thread) {
        for (Lane& one : timeline_.lanes) {
            if (one.name == name && one.process == process && one.thread == thread) return one;
        }
        timeline_.lanes.push_back({name, processName, process, thread, {}, {}});
        return timeline_.lanes.back();
    }

    Lane& threadLane(pid_t thread) {
        const std::string process = program_ + " " + std::to_string(daemon_);
        return lane(thread == daemon_ ? process : process + " thread " + std::to_string(thread), process,
                    daemon_, thread);
    }

    Lane& uploadLane() {
        const std::string process = program_ + " " + std::to_string(daemon_);
        return lane(process + " uploads", process, daemon_, -1);
    }

    Lane& clientLane(pid_t client) {
        const std::string& program = programs_[client];
        const std::string name = (program.empty() ? "process" : program) + " " + std::to_string(client);
        return lane(name, name, client, 0);
    }

    void begin(const RecordLine& line) {
        loseCalls(line.time);
        daemon_ = line.process;
        program_ = line.program;
        threadLane(daemon_).marks.push_back({line.time, "record starts"});
    }

    void exit(const RecordLine& line) {
        if (line.process == daemon_) loseCalls(line.time);
        Lane& ended = line.process == daemon_ ? threadLane(daemon_) : clientLane(line.process);
        ended.marks.push_back({line.time, "ended"});
    }

    void open(const RecordLine& line) {
        std::vector<uint64_t>& stack = stacks_[line.thread];
        open_[line.id] = {line, stack.size(), stack};
        stack.push_back(line.id);
        if (!line.isIncoming && line.method == "onApplyResult") endUpload(line.time, line.arguments);
    }

    std::string close(const RecordLine& line) {
        const auto found = open_.find(line.id);
        if (found == open_.end())
            return "answer to call " + std::to_string(line.id) + ", which has not begun or has ended";
        add(found->second, line.time, line.duration < 0 ? Outcome::Failed : Outcome::Done, line.results);
        followUpload(found->second.start, line.results);
        std::vector<uint64_t>& stack = stacks_[found->second.start.thread];
        stack.erase(std::remove(stack.begin(), stack.end(), line.id), stack.end());
        open_.erase(found);
        return "";
    }

    /** Adds the bars of a call to the lanes of the daemon's thread and of the client. */
    void add(const OpenCall& call, double end, Outcome outcome, const Json& results) {
        const RecordLine& start = call.start;
        Bar bar{start.isIncoming ? Bar::Kind::Call : Bar::Kind::OutgoingCall,
                outcome,
                start.time,
                end,
                call.depth,
                start.interface.substr(start.interface.rfind(':') + 1) + "." + start.method,
                {{"arguments", start.arguments}, {"results", results}}};
        threadLane(start.thread).bars.push_back(bar);
        bar.depth = 0;
        if (start.isIncoming) return clientLane(start.client).bars.push_back(bar);
        bar.kind = Bar::Kind::Wait;
        bar.depth = 1;
        bar.name = "waits for " + bar.name;
        for (const uint64_t id : call.inside) {
            const auto enclosing = open_.find(id);
            if (enclosing != open_.end() && enclosing->second.start.isIncoming)
                clientLane(enclosing->second.start.client).bars.push_back(bar);
        }
    }

    /** Ends the calls and uploads of a daemon that has ended. */
    void loseCalls(double time) {
        for (const auto& [id, call] : open_) add(call, time, Outcome::Lost, {});
        for (const PendingUpload& upload : uploads_) addUpload(upload, time, Outcome::Lost, {});
        open_.clear();
        stacks_.clear();
        uploads_.clear();
        buffers_.clear();
    }

    /** Keeps track of the parameter buffers and their uploads. */
    void followUpload(const RecordLine& call, const Json& results) {
        const auto number = [](const Json& values, const char* name) {
            return values.is_object() ? values.value(name, Json()) : Json();
        };
        const Json& arguments = call.arguments;
        if (call.method == "allocateParameterBuffer") {
            buffers_[number(results, "bufferHandle")] =
                number(arguments, "type").dump() + " upload, " + number(arguments, "size").dump() + " bytes";
        } else if (call.method == "apply" && number(results, "result") == 0) {
            uploads_.push_back({call.time, buffers_[number(arguments, "bufferHandle")]});
        }
    }

    void endUpload(double time, const Json& arguments) {
        if (uploads_.empty()) return;
        addUpload(uploads_.front(), time, Outcome::Done, arguments);
        uploads_.pop_front();
    }

    void addUpload(const PendingUpload& upload, double end, Outcome outcome, const Json& result) {
        Lane& uploads = uploadLane();
        const auto overlaps = [&](const Bar& bar) { return bar.end > upload.begin && bar.depth == 0; };
        const bool isSecond = std::any_of(uploads.bars.begin(), uploads.bars.end(), overlaps);
        uploads.bars.push_back(
            {Bar::Kind::Upload, outcome, upload.begin, end, isSecond ? size_t{1} : 0, upload.name, result});
    }

    Timeline& timeline_;
    double origin_ = -1;
    pid_t daemon_ = 0;
    std::string program_;
    std::map<pid_t, std::string> programs_;
    std::map<uint64_t, OpenCall> open_;
    std::map<pid_t, std::vector<uint64_t>> stacks_;  // open calls of each thread, innermost last
    std::map<Json, std::string> buffers_;            // names of the uploads, by the handle
    std::deque<PendingUpload> uploads_;
};

}  // namespace

std::string readTimeline(const std::string& path, Timeline& timeline) {
    std::ifstream file(path);
    if (!file || file.peek() == std::ifstream::traits_type::eof())
        return file.eof() ? path + ": the record is empty" : fileError(path, errno);
    Builder builder(timeline);
    std::string text;
    for (size_t number = 1; std::getline(file, text); ++number) {
        RecordLine line;
        std::string problem = parseRecordLine(text, line);
        if (problem.empty()) problem = builder.take(std::move(line));
        if (!problem.empty()) return path + ":" + std::to_string(number) + ": " + problem;
    }
    builder.finish();
    return "";
}

void cutTimeline(Timeline& timeline, double from, double to) {
    const auto remove = [](auto& list, auto isLeft) {
        list.erase(std::remove_if(list.begin(), list.end(), isLeft), list.end());
    };
    for (Lane& lane : timeline.lanes) {
        remove(lane.bars, [&](const Bar& bar) { return bar.end < from || bar.begin > to; });
        remove(lane.marks, [&](const Mark& mark) { return mark.time < from || mark.time > to; });
    }
    remove(timeline.lanes, [](const Lane& lane) { return lane.bars.empty() && lane.marks.empty(); });
}

}  // namespace hidlaudio::host
