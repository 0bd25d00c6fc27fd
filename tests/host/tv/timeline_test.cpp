// SPDX-License-Identifier: Apache-2.0
#include <nlohmann/json.hpp>

#include "tv_command.h"

namespace hidlaudio::test {
namespace {

using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

constexpr char kStart[] =
    R"({"event":"start","time":100.0,"date":"2026-01-02T03:04:05.000000Z","process":50,"program":"hidlaudio","format":1})"
    "\n";

/** Returns a call, with quotes for apostrophes. */
std::string call(int id, double time, int thread, const std::string& caller, const std::string& method,
                 const std::string& arguments = "{}") {
    std::string line = "{'event':'call','id':" + std::to_string(id) + ",'time':" + std::to_string(time) +
                       ",'thread':" + std::to_string(thread) +
                       (caller.empty() ? ",'direction':'out'" : ",'direction':'in','client':" + caller) +
                       ",'interface':'a.b@1.0::IX','method':'" + method + "','arguments':" + arguments +
                       "}\n";
    std::replace(line.begin(), line.end(), '\'', '"');
    return line;
}

std::string answer(int id, double time, const std::string& rest) {
    std::string line = "{'event':'answer','id':" + std::to_string(id) + ",'time':" + std::to_string(time) +
                       "," + rest + "}\n";
    std::replace(line.begin(), line.end(), '\'', '"');
    return line;
}

class TimelineCommand : public TvCommand {
  protected:
    /** Writes a record with a nested call, an upload, a failed call, and a daemon that is killed and
     * restarted. */
    void writeRecord() const {
        makeFile(
            record_,
            std::string(kStart) +
                R"({"event":"process","time":100.5,"process":7,"program":"a<pp"})"
                "\n" +
                call(1, 101, 50, "7", "outer", "{'text':'a&b'}") + call(2, 101.25, 50, "", "inner") +
                answer(2, 101.5, "'duration':0.25,'results':{}") +
                answer(1, 102, "'duration':1.0,'results':{'r':5}") +
                call(3, 102, 50, "7", "allocateParameterBuffer", "{'type':'HRTF','size':9}") +
                answer(3, 102, "'duration':0.0,'results':{'bufferHandle':4}") +
                call(4, 103, 50, "7", "apply", "{'bufferHandle':4}") +
                answer(4, 103, "'duration':0.0,'results':{'result':0}") +
                call(5, 104, 60, "", "onApplyResult", "{'result':0}") + answer(5, 104.5, "'failed':true") +
                R"({"event":"exit","time":104.75,"process":7})"
                "\n" +
                call(6, 105, 50, "8", "fatal") +
                R"({"event":"exit","time":106.0,"process":50})"
                "\n" +
                R"({"event":"start","time":107.0,"date":"","process":51,"program":"hidlaudio","format":1})"
                "\n");
    }

    const std::string record_ = folder_ / "record";
};

TEST_F(TimelineCommand, WritesTrace) {
    writeRecord();
    const json trace = json::parse(mustRun({"timeline", record_, "--trace", "-"}));
    std::vector<std::string> bars;
    for (const json& event : trace["traceEvents"]) {
        std::string text = event["name"];
        if (event["ph"] == "M") continue;
        if (event["ph"] == "X")
            text += " " + event["cat"].get<std::string>() + " " + event["args"]["outcome"].get<std::string>();
        text += " " + event["pid"].dump() + "/" + event["tid"].dump() + " " + event["ts"].dump();
        if (event["ph"] == "X") text += "+" + event["dur"].dump();
        bars.push_back(text);
    }
    EXPECT_THAT(
        bars,
        testing::UnorderedElementsAre(
            "record starts 50/50 0", "record starts 51/51 7000000", "ended 50/50 6000000",
            "ended 7/7 4750000", "IX.outer call done 50/50 1000000+1000000",
            "IX.outer call done 7/7 1000000+1000000", "IX.inner outgoing call done 50/50 1250000+250000",
            "waits for IX.inner wait done 7/7 1250000+250000",
            "IX.allocateParameterBuffer call done 50/50 2000000+0",
            "IX.allocateParameterBuffer call done 7/7 2000000+0", "IX.apply call done 50/50 3000000+0",
            "IX.apply call done 7/7 3000000+0", "\"HRTF\" upload, 9 bytes upload done 50/0 3000000+1000000",
            "IX.onApplyResult outgoing call failed 50/60 4000000+500000",
            "IX.fatal call no answer 50/50 5000000+1000000", "IX.fatal call no answer 8/8 5000000+1000000"));
    EXPECT_EQ(trace["traceEvents"][0]["args"]["name"], "a<pp 7");
}

TEST_F(TimelineCommand, DrawsPicture) {
    writeRecord();
    const std::string file = folder_ / "picture.svg";
    EXPECT_EQ(mustRun({"timeline", record_, "--svg", file}), "");
    const std::string svg = contentOf(file);
    EXPECT_THAT(svg, AllOf(HasSubstr("a&#60;pp 7"), HasSubstr("a&#38;b"), HasSubstr("IX.outer"),
                           HasSubstr(">ended<"), HasSubstr("hidlaudio 50 thread 60"),
                           HasSubstr("hidlaudio 50 uploads"), HasSubstr("no answer: the daemon ended")));
    EXPECT_EQ(svg.rfind("</svg>\n"), svg.size() - 7);
    const std::filesystem::path full = folder_ / "full";
    std::filesystem::create_symlink("/dev/full", full);
    for (const char* option : {"--svg", "--trace"}) {
        const Outcome refused = run({"timeline", record_, option, full});
        EXPECT_EQ(refused.status, 1);
        EXPECT_THAT(refused.err, HasSubstr("No space left"));
    }
    EXPECT_TRUE(std::filesystem::is_symlink(full)) << "a device is written, not replaced";
    EXPECT_THAT(mustRun({"timeline", record_, "--svg", "-", "--from", "0.5", "--to", "2.5"}),
                AllOf(HasSubstr("IX.outer"), Not(HasSubstr("IX.fatal")), Not(HasSubstr("process 8"))));
}

TEST_F(TimelineCommand, NamesTheBadLine) {
    const std::string begin = kStart;
    const struct {
        std::string content;
        std::string error;
    } cases[] = {
        {"", ": the record is empty"},
        {"what\n", ":1: not an object of JSON with at most 100 levels"},
        {begin + "{\"event\":\"call\",\"id\":1,\"ti", ":2: not an object of JSON with at most 100 levels"},
        {begin + "\n", ":2: not an object of JSON with at most 100 levels"},
        {begin + call(1, 101, 50, "7", "m",
                      "{'a':" + std::string(1000000, '[') + std::string(1000000, ']') + "}"),
         ":2: not an object of JSON with at most 100 levels"},
        {begin + "{}\n", ":2: \"event\" is missing or invalid"},
        {begin + "{\"event\":\"dance\",\"time\":1}\n", ":2: unknown event \"dance\""},
        {begin + call(1, 101, 50, "-7", "m"), ":2: \"client\" is missing or invalid"},
        {begin + call(1, 101, 50, "7", "m", "[]"), ":2: \"arguments\" is missing or invalid"},
        {begin + answer(1, 101, "'results':{}"), ":2: \"duration\" is missing or invalid"},
        {begin + answer(9, 101, "'failed':true"), ":2: answer to call 9, which has not begun or has ended"},
        {call(1, 101, 50, "7", "m"), ":1: the record does not begin with the event \"start\""},
        {"{\"event\":\"start\",\"time\":1,\"format\":2}\n", ":1: \"format\" is missing or invalid"},
    };
    for (const auto& one : cases) {
        makeFile(record_, one.content);
        const Outcome outcome = run({"timeline", record_, "--trace", folder_ / "trace"});
        EXPECT_EQ(outcome.status, 2) << one.error;
        EXPECT_EQ(outcome.err, "tv: " + record_ + one.error + "\n");
    }
    EXPECT_THAT(run({"timeline", folder_ / "none", "--svg", "-"}).err, HasSubstr("none: No such file"));
    writeRecord();
    EXPECT_THAT(run({"timeline", record_}).err, HasSubstr("give --svg FILE"));
    EXPECT_THAT(run({"timeline", record_, "--svg", "-", "--from", "9"}).err, HasSubstr("--from"));
}

}  // namespace
}  // namespace hidlaudio::test
