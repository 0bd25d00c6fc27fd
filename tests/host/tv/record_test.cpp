// SPDX-License-Identifier: Apache-2.0
#include <nlohmann/json.hpp>

#include "host/tv_files/program_lock.h"
#include "tests/support/becomes_true.h"
#include "tv_command.h"

namespace hidlaudio::test {
namespace {

using nlohmann::json;
using testing::AllOf;
using testing::Contains;
using testing::HasSubstr;
using testing::Not;

namespace fs = std::filesystem;

class RecordCommand : public TvCommand {
  protected:
    RecordCommand() { mustRun({"init"}); }
    ~RecordCommand() override { run({"shutdown"}); }

    /** Starts `tv record` and waits until it records. */
    std::unique_ptr<RunningProgram> startRecord(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {command_, "record"});
        auto program = std::make_unique<RunningProgram>(arguments);
        EXPECT_TRUE(becomesTrue([&] {
            return program->err().find("recording the calls") != std::string::npos;
        })) << program->err();
        return program;
    }

    static int interrupt(RunningProgram& program) {
        kill(program.pid(), SIGINT);
        return program.wait();
    }

    static int audioctl(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), AUDIOCTL);
        return runProgram(arguments).status;
    }

    /** Returns the recorded methods, with '>' before those that the daemon has called. */
    static std::vector<std::string> methodsIn(const std::string& text) {
        std::istringstream stream(text);
        std::vector<std::string> methods;
        for (std::string line; std::getline(stream, line);) {
            const json call = json::parse(line);
            if (call["event"] != "call") continue;
            methods.push_back((call["direction"] == "out" ? ">" : "") + call["method"].get<std::string>());
        }
        return methods;
    }

    const std::string file_ = folder_ / "the calls";
};

TEST_F(RecordCommand, RecordsARunningTv) {
    mustRun({"boot", "--background"});
    EXPECT_EQ(audioctl({"mic", "gain", "0.5"}), 0);
    const auto record = startRecord({file_, "--bytes"});
    EXPECT_EQ(audioctl({"external", "set", "off"}), 0);
    makeFile(folder_ / "upload", std::string(1000, 'u'));
    EXPECT_EQ(audioctl({"virtualizer", "upload", "hrtf", folder_ / "upload"}), 0);
    const Outcome second = run({"record", folder_ / "other"});
    EXPECT_EQ(second.status, 1);
    EXPECT_THAT(second.err, HasSubstr("already recorded to " + file_));
    EXPECT_EQ(interrupt(*record), 0);
    EXPECT_THAT(record->out(), HasSubstr(" calls recorded\n"));
    EXPECT_EQ(audioctl({"external", "set", "on"}), 0);

    const std::string text = contentOf(file_);
    EXPECT_THAT(methodsIn(text),
                AllOf(Contains("setForceEncodingEnabled").Times(1), Contains(">onApplyResult"),
                      Not(Contains("setMicGain")), Not(Contains("ping"))));
    EXPECT_THAT(text, AllOf(HasSubstr("{\"event\":\"process\""), HasSubstr("{\"event\":\"exit\"")));
    EXPECT_EQ(contentOf(file_ + ".bytes"), std::string(1000, 'u'));
    EXPECT_TRUE(fs::is_empty(tv_ + "/properties"));
}

TEST_F(RecordCommand, BootRecordsFromTheStart) {
    mustRun({"boot", "--background", "--record", file_});
    EXPECT_THAT(methodsIn(contentOf(file_)), Contains(">openPrimaryDevice"));
    EXPECT_THAT(mustRun({"record", "--stop"}), HasSubstr("is complete"));
    EXPECT_EQ(run({"record", "--stop"}).err, "tv: no calls are being recorded\n");
    // Without a file, the record is printed.
    const auto printed = startRecord({});
    EXPECT_EQ(audioctl({"external", "get"}), 0);
    EXPECT_EQ(interrupt(*printed), 0);
    EXPECT_THAT(methodsIn(printed->out()), Contains("getForceEncodingEnabled"));
    EXPECT_THAT(contentOf(file_), Not(HasSubstr("getForceEncodingEnabled")));
}

TEST_F(RecordCommand, SurvivesARestart) {
    const auto record = startRecord({file_});
    EXPECT_THAT(record->err(), HasSubstr("the daemon is not running"));
    mustRun({"boot", "--background"});
    kill(host::programLockHolder("hidlaudio"), SIGKILL);
    EXPECT_TRUE(becomesTrue([] { return host::programLockHolder("hidlaudio") == 0; }));
    mustRun({"boot", "--background"});
    EXPECT_EQ(audioctl({"external", "get"}), 0);
    EXPECT_TRUE(
        becomesTrue([&] { return contentOf(file_).find("{\"event\":\"exit\"") != std::string::npos; }));
    // A record whose owner was killed ends with the TV.
    kill(record->pid(), SIGKILL);
    record->wait();
    EXPECT_FALSE(fs::is_empty(tv_ + "/properties"));
    mustRun({"shutdown"});
    EXPECT_TRUE(fs::is_empty(tv_ + "/properties"));
    const std::string text = contentOf(file_);
    EXPECT_NE(text.find("{\"event\":\"start\""), text.rfind("{\"event\":\"start\""));
    EXPECT_THAT(methodsIn(text), Contains("getForceEncodingEnabled"));
}

TEST_F(RecordCommand, LateEndKeepsTheNextRecord) {
    for (const auto& arguments : {std::vector<std::string>{}, {folder_ / "first"}}) {
        const auto first = startRecord(arguments);
        suspend(*first);
        mustRun({"record", "--stop"});
        const auto next = startRecord({file_});
        kill(first->pid(), SIGCONT);
        EXPECT_EQ(first->wait(), 1);
        EXPECT_THAT(first->err(), HasSubstr("the recording was stopped"));
        EXPECT_FALSE(fs::exists(tv_ + "/run/record.jsonl"));
        EXPECT_TRUE(fs::exists(file_));
        EXPECT_EQ(contentOf(tv_ + "/properties/vendor.hidlaudio.record.file"), file_ + "\n");
        EXPECT_EQ(interrupt(*next), 0);
        EXPECT_TRUE(fs::is_empty(tv_ + "/properties"));
    }
}

TEST_F(RecordCommand, LateMonitorKeepsTheRecordOfTheNextOne) {
    const std::string record = tv_ + "/run/monitor.jsonl";
    const auto startMonitor = [&] {
        auto monitor = std::make_unique<RunningProgram>(std::vector<std::string>{AUDIOCTL, "monitor"});
        EXPECT_TRUE(
            becomesTrue([&] { return monitor->err().find("monitoring the calls") != std::string::npos; }));
        return monitor;
    };
    const auto first = startMonitor();
    suspend(*first);
    mustRun({"record", "--stop"});
    const auto next = startMonitor();
    kill(first->pid(), SIGINT);
    kill(first->pid(), SIGCONT);
    EXPECT_EQ(first->wait(), 0);
    EXPECT_TRUE(fs::exists(record));
    EXPECT_EQ(contentOf(tv_ + "/properties/vendor.hidlaudio.record.file"), record + "\n");
    EXPECT_EQ(interrupt(*next), 0);
    EXPECT_FALSE(fs::exists(record));
    EXPECT_TRUE(fs::is_empty(tv_ + "/properties"));
}

TEST_F(RecordCommand, ReportsWhatItCannotDo) {
    const struct {
        std::vector<std::string> arguments;
        int status;
        std::string error;
    } cases[] = {
        {{"record", folder_ / "none/calls"}, 1, "none/calls: No such file or directory"},
        {{"record", folder_.path()}, 1, "Is a directory"},
        {{"record", "a\nb"}, 1, "contains a newline"},
        {{"record", ""}, 2, "must not be empty"},
        {{"record", "--bytes"}, 2, "FILE"},
        {{"record", file_, "--limit", "0"}, 2, "--limit"},
        {{"boot", "--record", folder_.path()}, 1, "Is a directory"},
    };
    for (const auto& one : cases) {
        const Outcome outcome = run(one.arguments);
        EXPECT_EQ(outcome.status, one.status) << one.error;
        EXPECT_THAT(outcome.err, HasSubstr(one.error));
    }
    EXPECT_TRUE(fs::is_empty(tv_ + "/properties"));
}

}  // namespace
}  // namespace hidlaudio::test
