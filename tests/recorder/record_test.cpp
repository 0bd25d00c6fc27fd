// SPDX-License-Identifier: Apache-2.0
#include <inttypes.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <nlohmann/json.hpp>
#include <thread>

#include "host/tv_files/tv_root.h"
#include "tests/host/hidl/fixture.h"

namespace hidlaudio::test {
namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;

namespace fs = std::filesystem;

/** Records the calls of the probe's process. */
class Record : public HidlTest {
  protected:
    Record() {
        set("hal.instrumentation.lib.path." + std::to_string(sizeof(void*) * 8), INSTRUMENTATION "/");
        set("vendor.hidlaudio.record.program", "probe_process");
        set("vendor.hidlaudio.record.file", file_);
        set("hal.instrumentation.enable", "true");
    }
    ~Record() override {
        fs::remove_all(host::tvRoot() + "/properties");
        fs::remove_all(file_);
        fs::remove(file_ + ".bytes");
    }

    static void set(const std::string& property, const std::string& value) {
        makeFile(host::tvRoot() + "/properties/" + property, value + "\n");
    }

    /** Returns the lines of the record. Calls of IBase are left out. */
    std::vector<json> lines() const {
        std::istringstream text(contentOf(file_));
        std::vector<json> lines;
        std::vector<json> left;
        for (std::string line; std::getline(text, line);) {
            lines.push_back(json::parse(line, nullptr, false));
            EXPECT_TRUE(lines.back().is_object()) << line;
            const json& last = lines.back();
            const bool isBase = last["event"] == "call" && !last.contains("arguments");
            const bool isLeft = isBase || (last["event"] == "answer" &&
                                           testing::Matches(testing::Contains(last["id"]))(left));
            if (isBase) left.push_back(last["id"]);
            if (isLeft) lines.pop_back();
        }
        return lines;
    }

    /** Returns the lines as "call METHOD ID", "answer ID", … */
    std::vector<std::string> summary() const {
        std::vector<std::string> texts;
        for (const json& line : lines()) {
            std::string text = line["event"];
            if (line.contains("direction")) text += " " + line["direction"].get<std::string>();
            if (line.contains("method")) text += " " + line["method"].get<std::string>();
            if (line.contains("failed")) text += " failed";
            texts.push_back(text);
        }
        return texts;
    }

    const std::string file_ = host::tvRoot() + "/record.jsonl";
};

TEST_F(Record, HasTheValuesOfACall) {
    const Service service;
    const sp<IProbe> probe = service.get();
    Everything value{};
    value.smallUnsigned = 255;
    value.huge = INT64_MIN;
    value.hugeUnsigned = UINT64_MAX;
    value.real = 0.1F;
    value.precise = -1.0 / 3;
    value.colour = com::tovi::test::probe::V1_0::Colour::GREEN;
    value.flags = 3;
    value.threeNumbers = {{1, -2, 3}};
    value.text = "say \"\\\n\x01 \u00fc";
    value.item.gains = {-4.5F, NAN, -INFINITY};
    value.item.notes = {"a", "b"};
    value.truths = {true, false};
    value.table = {{}, {7}};
    value.grid[1][2] = 9;
    EXPECT_EQ(errorOf(probe->echo(value, [](const auto&) {})), "");
    const json expected = json::parse(R"({
        "truth": false, "small": 0, "smallUnsigned": 255, "medium": 0, "mediumUnsigned": 0, "large": 0,
        "largeUnsigned": 0, "huge": -9223372036854775808, "hugeUnsigned": 18446744073709551615, "real": 0.1,
        "precise": -0.3333333333333333, "colour": "GREEN", "flags": 3, "threeNumbers": [1, -2, 3],
        "twoTexts": ["", ""], "text": "say \"\\\n\u0001 ü",
        "item": {"name": "", "gains": [-4.5, "NaN", "-Infinity"], "notes": ["a", "b"], "enabled": false,
                 "colour": "RED"},
        "truths": [true, false], "numbers": [], "table": [[], [7]], "items": [], "texts": [],
        "grid": [[0, 0, 0], [0, 0, 9]], "names": [["", ""], ["", ""]]})");
    const std::vector<json> record = lines();
    ASSERT_EQ(record.size(), 4U);
    EXPECT_EQ(record[0]["event"], "start");
    EXPECT_EQ(record[0]["process"], service.pid());
    EXPECT_EQ(record[1]["event"], "process");
    EXPECT_EQ(record[2]["client"], getpid());
    EXPECT_EQ(record[2]["thread"], service.pid()) << "its main thread";
    EXPECT_EQ(record[2]["interface"], "com.tovi.test.probe@1.1::IProbe");
    EXPECT_EQ(record[2]["method"], "echo");
    EXPECT_EQ(record[2]["arguments"], json({{"value", expected}}));
    EXPECT_EQ(record[3]["id"], record[2]["id"]);
    EXPECT_EQ(record[3]["results"], json({{"same", expected}}));
    EXPECT_NEAR(record[2]["time"].get<double>() + record[3]["duration"].get<double>(),
                record[3]["time"].get<double>(), 2e-6);
}

TEST_F(Record, StoresBytesBesideIt) {
    set("vendor.hidlaudio.record.bytes", "true");
    const Service service;
    const sp<IProbe> probe = service.get();
    std::string bytes;
    for (int i = 0; i < 100'000; ++i) bytes += static_cast<char>(i * 7 % 251);
    const hidl_vec<uint8_t> data(bytes.begin(), bytes.end());
    EXPECT_EQ(errorOf(probe->echoBytes({0, 16, 255}, [](const auto&) {})), "");
    EXPECT_EQ(errorOf(probe->echoBytes(data, [](const auto&) {})), "");
    EXPECT_EQ(errorOf(probe->echoText("\xFF!", [](const auto&) {})), "");
    EXPECT_EQ(errorOf(probe->setCallback(nullptr)), "");
    uint64_t hash = 14695981039346656037U;
    for (const char c : bytes) hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211U;
    char text[20];
    snprintf(text, sizeof(text), "%016" PRIx64, hash);
    const json stored{{"size", bytes.size()}, {"hash", text}, {"offset", 0}};
    std::vector<json> arguments;
    for (const json& line : lines()) {
        if (line["event"] == "call") arguments.push_back(*line["arguments"].begin());
    }
    EXPECT_THAT(arguments, ElementsAre(json({{"hex", "0010ff"}}), stored, json({{"hex", "ff21"}}), json()));
    EXPECT_EQ(contentOf(file_ + ".bytes"), bytes + bytes) << "argument and result";
}

TEST_F(Record, HasNestedCallsAndThoseThatFail) {
    const Service service;
    const sp<IProbe> probe = service.get();
    const sp<Callback> callback = new Callback;
    callback->event = [](int32_t value) { return value; };
    EXPECT_EQ(errorOf(probe->setCallback(callback)), "");
    EXPECT_EQ(errorOf(probe->callBack(8, [](int32_t, int32_t) {})), "");
    EXPECT_THAT(summary(), ElementsAre("start", "process", "call in setCallback", "answer",
                                       "call in callBack", "call out onEvent", "answer", "answer"));
    {
        Helper client({"hang", "-"});
        EXPECT_EQ(client.readLine(), "ready");
    }
    fs::resize_file(file_, 0);
    EXPECT_EQ(errorOf(probe->callBack(1, [](int32_t, int32_t status) { EXPECT_NE(status, 0); })), "");
    EXPECT_THAT(summary(), ElementsAre("call in callBack", "call out onEvent", "answer failed", "answer"));
}

TEST_F(Record, HasTheCallThatKillsTheProcess) {
    Service service;
    const sp<IProbe> probe = service.get();
    EXPECT_NE(errorOf(probe->answerTimes(0, [](const auto&) {})), "");
    service.wait();
    EXPECT_THAT(summary(), ElementsAre("start", "process", "call in answerTimes"));
}

TEST_F(Record, ThreadsWriteWholeLines) {
    constexpr int kThreads = 4;
    constexpr int kCalls = 300;
    ServiceOptions options;
    options.threads = kThreads;
    const Service service(options);
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([probe = service.get()] {
            for (int k = 0; k < kCalls; ++k) EXPECT_EQ(probe->add(k, 1), k + 1);
        });
    }
    for (std::thread& thread : threads) thread.join();
    std::map<json, json> sums;
    std::map<json, int> answers;
    for (const json& line : lines()) {
        if (line["event"] == "call") sums[line["id"]] = line["arguments"]["a"].get<int>() + 1;
        if (line["event"] == "answer")
            answers[line["id"]] += line["results"]["sum"] == sums[line["id"]] ? 1 : 0;
    }
    EXPECT_EQ(answers.size(), static_cast<size_t>(kThreads * kCalls));
    for (const auto& [id, count] : answers) EXPECT_EQ(count, 1) << id;
}

TEST_F(Record, EndsWithANoteWhenTheFileIsFull) {
    const struct {
        const char* description;
        const char* property;  // in MiB
        rlim_t limit;          // of the process, in bytes
    } cases[] = {{"property", "1", RLIM_INFINITY}, {"process", "100", 500'000}};
    for (const auto& one : cases) {
        SCOPED_TRACE(one.description);
        if (HIDLAUDIO_EMULATED && one.limit != RLIM_INFINITY) continue;  // it would limit the emulator
        fs::remove(file_);
        set("vendor.hidlaudio.record.limit", one.property);
        const Service service;
        const sp<IProbe> probe = service.get();
        const rlimit limit{one.limit, one.limit};
        ASSERT_EQ(prlimit(service.pid(), RLIMIT_FSIZE, &limit, nullptr), 0);
        const std::string text(3000, 't');
        for (int i = 0; i < 200; ++i) ASSERT_EQ(errorOf(probe->echoText(text, [](const auto&) {})), "");
        const std::vector<json> record = lines();
        EXPECT_GT(record.size(), 20U);
        ASSERT_EQ(record.back()["event"], "note");
        EXPECT_THAT(record.back()["text"].get<std::string>(), EndsWith("record.jsonl: File too large"));
        EXPECT_LE(fs::file_size(file_), 1U << 20);
    }
}

TEST_F(Record, ServiceWorksWithoutIt) {
    rlimit limit{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &limit), 0);
    const std::pair<const char*, std::function<void()>> cases[] = {
        {"longer file than the process may write",
         [&] {
             makeFile(file_, std::string(1'000'000, '\n'));
             const rlimit lower{500'000, limit.rlim_max};
             // It would limit the emulator too.
             ASSERT_EQ(HIDLAUDIO_EMULATED ? 0 : setrlimit(RLIMIT_FSIZE, &lower), 0);
         }},
        {"folder", [&] { fs::create_directory(file_); }},
        {"pipe", [&] { ASSERT_EQ(mkfifo(file_.c_str(), 0600), 0); }},
        {"link", [&] { fs::create_symlink("elsewhere", file_); }},
        {"no folder", [&] { set("vendor.hidlaudio.record.file", file_ + "/none/record"); }},
        {"no folder, and a name that is not UTF-8",
         [&] { set("vendor.hidlaudio.record.file", file_ + "/\xE9/record"); }},
        {"other program", [&] { set("vendor.hidlaudio.record.program", "other"); }},
    };
    for (const auto& [description, prepare] : cases) {
        fs::remove_all(file_);
        prepare();
        const Service service;
        ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
        EXPECT_EQ(service.get()->add(1, 2), 3) << description;
    }
    EXPECT_FALSE(fs::exists(file_));
}

TEST_F(Record, OfAProcessWhoseFileWasReplaced) {
    if (HIDLAUDIO_EMULATED) GTEST_SKIP() << "the emulator answers readlink() of the program's file itself";
    const fs::path programs = fs::path(PROBE_PROCESS).parent_path();
    const fs::path copies = host::tvRoot() + "/copies";
    const fs::path program = copies / "bin" / "probe_process";
    fs::create_directories(program.parent_path());
    fs::create_directory_symlink(programs.parent_path() / "lib", copies / "lib");
    fs::copy_file(PROBE_PROCESS, program);
    set("hal.instrumentation.enable", "false");
    ServiceOptions options;
    options.program = program;
    const Service service(options);
    fs::remove_all(copies);
    set("hal.instrumentation.enable", "true");
    EXPECT_EQ(errorOf(service.get()->setHALInstrumentation()), "");
    EXPECT_EQ(service.get()->add(1, 2), 3);
    EXPECT_THAT(contentOf(file_), HasSubstr("\"method\":\"add\""));
}

TEST_F(Record, FollowsItsSettings) {
    const Service service;
    const sp<IProbe> probe = service.get();
    const auto callUntil = [&](auto condition) {
        return becomesTrue([&] { return probe->add(1, 1) == 2 && condition(); });
    };
    fs::remove(file_);
    EXPECT_TRUE(callUntil([&] { return fs::exists(file_); })) << "a removed file is created again";
    const std::string second = file_ + ".2";
    set("vendor.hidlaudio.record.file", second);
    EXPECT_TRUE(callUntil([&] { return fs::exists(second); }));
    EXPECT_THAT(contentOf(second), HasSubstr("{\"event\":\"start\""));
    set("hal.instrumentation.enable", "false");
    EXPECT_TRUE(callUntil([&] {
        const auto size = fs::file_size(second);
        EXPECT_EQ(probe->add(1, 1), 2);
        return fs::file_size(second) == size;
    })) << "the stub still reports its calls, but the recorder is off";
}

}  // namespace
}  // namespace hidlaudio::test
