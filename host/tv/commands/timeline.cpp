// SPDX-License-Identifier: Apache-2.0
#include "host/tv/timeline/timeline.h"

#include <algorithm>
#include <memory>
#include <optional>

#include "host/program/output_file.h"
#include "host/program/terminal.h"
#include "host/tv/commands.h"

namespace hidlaudio::host {
namespace {

constexpr double kLongestTime = 1e9;

struct TimelineOptions {
    std::string record;
    std::string svg;
    std::string trace;
    double from = 0;
    std::optional<double> to;
};

int timeline(const TimelineOptions& options) {
    if (options.svg.empty() && options.trace.empty())
        return fail("give --svg FILE, --trace FILE, or both", kWrongUsage);
    Timeline timeline;
    if (const std::string problem = readTimeline(options.record, timeline); !problem.empty())
        return fail(problem, kWrongUsage);
    const double to = options.to.value_or(timeline.end);
    if (options.from > to || (options.to && options.from == to))
        return fail("--from must be before --to, and before the end of the record", kWrongUsage);
    cutTimeline(timeline, options.from, to);
    constexpr double kMinTime = 1e-6;
    std::string problem;
    if (!options.svg.empty())
        problem = writeOutputFile(
            options.svg, drawTimeline(timeline, options.from, std::max(to, options.from + kMinTime)));
    if (problem.empty() && !options.trace.empty())
        problem = writeOutputFile(options.trace, traceOfTimeline(timeline));
    return problem.empty() ? kDone : fail(problem);
}

}  // namespace

void addTimeline(Command app, int& status) {
    const auto options = std::make_shared<TimelineOptions>();
    const Command command = app.addCommand("timeline", "Draw the calls of a record");
    command.setHelp(
        R"(Reads a record of `tv record` and writes it as a picture or as a trace. Each client and each thread
of the daemon has a lane with its calls; below a client's call are the times in which the daemon
waits for another process before it answers. Uploads have a lane of their own. Marks show the
starts and ends of processes.)",
        {"1  the output cannot be written",
         "2  the arguments are wrong, or the record is missing or damaged"},
        {"tv timeline calls.jsonl --svg calls.svg", "tv timeline calls.jsonl --from 2 --to 2.5 --svg -",
         "tv timeline calls.jsonl --trace calls.json   # for chrome://tracing or ui.perfetto.dev"});
    command.argument("RECORD", options->record, "The record").required().notEmpty();
    command.option("--svg", "FILE", options->svg, "Write a picture to FILE; - is standard output").notEmpty();
    command.option("--trace", "FILE", options->trace, "Write a trace in JSON to FILE; - is standard output")
        .notEmpty();
    command.option("--from", "SECONDS", options->from, "Begin at this time of the record (default: 0)")
        .number(0, kLongestTime);
    command.option("--to", "SECONDS", options->to, "End at this time of the record (default: its end)")
        .number(0, kLongestTime);
    command.onRun([options, &status] { status = timeline(*options); });
}

}  // namespace hidlaudio::host
