// SPDX-License-Identifier: Apache-2.0
#include <cmath>

#include "timeline.h"

namespace hidlaudio::host {
namespace {

using Json = nlohmann::ordered_json;

constexpr double kMicroseconds = 1e6;
constexpr const char* kCategories[] = {"call", "outgoing call", "wait", "upload"};
constexpr const char* kOutcomes[] = {"done", "failed", "no answer"};

int64_t microseconds(double seconds) {
    return std::llround(seconds * kMicroseconds);
}

/** Returns the lane's thread in the trace. The single lane of a client, and that of uploads, need one too. */
pid_t threadOf(const Lane& lane) {
    return lane.thread > 0 ? lane.thread : lane.thread == 0 ? lane.process : 0;
}

Json named(const char* what, const Lane& lane, const std::string& name) {
    return {{"name", what},
            {"ph", "M"},
            {"pid", lane.process},
            {"tid", threadOf(lane)},
            {"args", {{"name", name}}}};
}

Json toJson(const Lane& lane, const Bar& bar) {
    Json arguments{{"outcome", kOutcomes[static_cast<int>(bar.outcome)]}};
    if (bar.details.is_object()) arguments.update(bar.details);
    return {{"name", bar.name},
            {"cat", kCategories[static_cast<int>(bar.kind)]},
            {"ph", "X"},
            {"ts", microseconds(bar.begin)},
            {"dur", microseconds(bar.end) - microseconds(bar.begin)},
            {"pid", lane.process},
            {"tid", threadOf(lane)},
            {"args", arguments}};
}

Json toJson(const Lane& lane, const Mark& mark) {
    return {{"name", mark.name},     {"ph", "i"}, {"ts", microseconds(mark.time)}, {"pid", lane.process},
            {"tid", threadOf(lane)}, {"s", "p"}};
}

}  // namespace

std::string traceOfTimeline(const Timeline& timeline) {
    Json events = Json::array();
    for (const Lane& lane : timeline.lanes) {
        events.push_back(named("process_name", lane, lane.processName));
        events.push_back(named("thread_name", lane, lane.name));
        for (const Bar& bar : lane.bars) events.push_back(toJson(lane, bar));
        for (const Mark& mark : lane.marks) events.push_back(toJson(lane, mark));
    }
    return Json{{"traceEvents", events}}.dump(1, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace hidlaudio::host
