// SPDX-License-Identifier: Apache-2.0
#include "host/scenario/shrink/search.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <set>

namespace hidlaudio::host {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Not;

/** Searches with a condition on the text of the scenario in place of runs. */
struct Searched {
    ScenarioLines result;
    size_t runs = 0;
};

Searched searchUntil(const ScenarioLines& lines, const std::function<bool(const ScenarioLines&)>& isShown) {
    std::set<ScenarioLines> known;
    const FirstShown firstShown = [&](const Candidates& candidates) -> std::optional<size_t> {
        for (size_t i = 0; i < candidates.count; ++i) {
            const ScenarioLines candidate = candidates.make(i);
            known.insert(candidate);
            if (!candidate.empty() && isShown(candidate)) return i;
        }
        return std::nullopt;
    };
    const std::vector<ScenarioLines> found = searchShortest(lines, firstShown);
    EXPECT_EQ(found.front(), lines);
    return {found.back(), known.size()};
}

bool has(const ScenarioLines& lines, const std::string& line) {
    return std::find(lines.begin(), lines.end(), line) != lines.end();
}

std::string joined(const ScenarioLines& lines) {
    std::string text;
    for (const std::string& line : lines) text += line + "\n";
    return text;
}

TEST(Search, OnlyNeededLinesRemain) {
    ScenarioLines lines;
    for (int i = 0; i < 40; ++i) lines.push_back("await " + std::to_string(i));
    const std::vector<ScenarioLines> needed{
        {"await 0"}, {"await 39"}, {"await 3", "await 7"}, {"await 0", "await 20", "await 21", "await 39"}};
    for (const ScenarioLines& all : needed) {
        const Searched searched = searchUntil(lines, [&](const ScenarioLines& given) {
            return std::all_of(all.begin(), all.end(), [&](auto& line) { return has(given, line); });
        });
        EXPECT_EQ(searched.result, all);
        EXPECT_LT(searched.runs, 120U) << joined(all);
    }
    // Either line is enough if the other one is missing: not monotonic, but still minimal.
    const Searched odd = searchUntil(lines, [](const ScenarioLines& given) {
        return has(given, "await 5") != has(given, "await 6") || given.size() == 40;
    });
    EXPECT_EQ(odd.result.size(), 1U);
}

TEST(Search, LinesAreSimplified) {
    struct Row {
        ScenarioLines lines;
        std::vector<std::string> needed;  // texts that the scenario must contain
        ScenarioLines result;
    };
    const Row rows[] = {
        {{"tv init --model be --centre-input", "audioctl hdmi get"},
         {"--centre-input", "audioctl"},
         {"tv init --centre-input", "audioctl hdmi"}},
        {{"tv init --model be --centre-input", "audioctl hdmi get"}, {"hdmi"}, {"audioctl hdmi"}},
        {{"tv fault getParameters delay=3000 5 2"},
         {"getParameters delay"},
         {"tv fault getParameters delay=0"}},
        {{"file /data/a hex 00112233445566778899"}, {"3344"}, {"file /data/a hex 3344"}},
        {{"client a ICenterSpeaker.f {\"x\":[1,70000,3,4],\"y\":{\"hex\":\"0102030405\"},\"z\":\"text\"} > v "
          "&"},
         {"70"},
         {"client a ICenterSpeaker.f {\"x\":[70000]}"}},
    };
    for (const Row& row : rows) {
        const Searched searched = searchUntil(row.lines, [&](const ScenarioLines& given) {
            const std::string text = joined(given);
            return std::all_of(row.needed.begin(), row.needed.end(),
                               [&](auto& part) { return text.find(part) != std::string::npos; });
        });
        EXPECT_EQ(searched.result, row.result);
    }
}

TEST(Search, VariablesGoWithTheLinesThatStoreThem) {
    const ScenarioLines lines{
        "client a IHdmiAudio.allocate {\"size\":4} > h",
        "client a IHdmiAudio.write {\"h\":\"$h\",\"all\":[\"$h\"]} > n",
        "client a IHdmiAudio.free {\"h\":\"$h\"}",
    };
    EXPECT_THAT(withoutOrphans({lines[1], lines[2]}), ElementsAre());
    EXPECT_EQ(withoutOrphans(lines), lines);
    const auto isFreed = [](const ScenarioLines& given) {
        return joined(given).find("IHdmiAudio.free {\"h\"") != std::string::npos;
    };
    EXPECT_THAT(searchUntil(lines, isFreed).result, ElementsAre("client a IHdmiAudio.free {\"h\":0}"));
    const auto isFreedAfterAllocation = [&](const ScenarioLines& given) {
        return isFreed(given) && joined(given).find("allocate") != std::string::npos;
    };
    EXPECT_THAT(searchUntil(lines, isFreedAfterAllocation).result,
                ElementsAre("client a IHdmiAudio.allocate > h", lines[2]));
}

TEST(Candidates, EachKindOfArgumentIsSimplified) {
    const auto call = [](const std::string& value) { return "client a IHdmiAudio.f {\"x\":" + value + "}"; };
    const std::pair<const char*, std::vector<const char*>> rows[] = {
        {"10", {"0", "1", "5", "9"}},
        {"-3", {"0", "-2"}},
        {"2.5", {"0.0", "1.0", "2.0"}},
        {"18446744073709551615", {"9223372036854775808"}},
        {"true", {"false"}},
        {"\"häß\"", {"\"\"", "\"h\"", "\"äß\""}},
        {"[1,2]", {"[]", "[2]", "[1]", "[0,0]", "[0,2]"}},
        {"{\"a\":1,\"b\":2}", {"{}", "{\"b\":2}", "{\"a\":0,\"b\":2}"}},
        {"{\"hex\":\"0a0b\"}", {"{\"hex\":\"\"}", "{\"hex\":\"0b\"}", "{\"size\":2}"}},
        {"{\"size\":8}", {"{\"size\":0}", "{\"size\":4}"}},
        {"{\"file\":\"f\",\"offset\":2,\"size\":3}",
         {"{\"size\":0}", "{\"size\":3}", "{\"file\":\"f\",\"offset\":0,\"size\":3}"}},
        {"{\"object\":\"listener\"}", {"null"}},
        {"{\"deep\":[{\"object\":\"listener\"}]}", {"{\"deep\":[null]}"}},
    };
    for (const auto& [value, simpler] : rows) {
        const std::vector<std::string> lines = simplerLines(call(value));
        for (const char* each : simpler) EXPECT_THAT(lines, Contains(call(each)));
        EXPECT_THAT(lines, Not(Contains(call(value))));
    }
    for (const char* value : {"0", "0.0", "false", "null", "\"\"", "[]", "{}", "{\"size\":0}", "\"$v\""})
        EXPECT_THAT(simplerLines(call(value)), ElementsAre("client a IHdmiAudio.f")) << value;
    for (const char* line :
         {"tv boot", "tv shutdown", "kill hidlaudio", "await text 5", "audioctl hdmi", "file /data/a hex",
          "file /data/a copy b", "client a IHdmiAudio.f", "no command"})
        EXPECT_THAT(simplerLines(line), ElementsAre()) << line;
}

}  // namespace
}  // namespace hidlaudio::host
