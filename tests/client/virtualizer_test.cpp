// SPDX-License-Identifier: Apache-2.0
#include <nlohmann/json.hpp>

#include "tests/client/audioctl.h"

namespace hidlaudio::test {
namespace {

using nlohmann::json;
using testing::HasSubstr;

TEST_F(Audioctl, SwitchesTheVirtualizer) {
    const auto service = serve({"virtualizer"});
    expectAll({{{"virtualizer", "status"}, 0, "off\n", ""},
               {{"virtualizer", "on"}, 0, "", ""},
               {{"virtualizer", "status", "--json"}, 0, "{\"value\":true}\n", ""},
               {{"virtualizer", "off", "--json"}, 0, "{\"result\":0}\n", ""},
               {{"virtualizer", "upmix"}, 0, "on\n", ""},
               {{"virtualizer", "upmix", "off"}, 0, "", ""},
               {{"virtualizer", "upmix", "on", "--json"}, 1, "{\"result\":-5}\n", "no back-end controller"},
               {{"virtualizer", "upmix", "maybe"}, 2, "", "{on,off}"},
               {{"virtualizer", "type"}, 0, "Tovi\n", ""},
               {{"virtualizer", "type", "tovi"}, 1, "", "virtualizer types"},
               {{"virtualizer", "types"}, 0, "Tovi\nb\n", ""},
               {{"virtualizer", "max-append"}, 0, "4\n", ""}});
}

TEST_F(Audioctl, UploadsParameters) {
    const auto service = serve({"virtualizer"});
    const auto upload = [this](const std::string& content, std::vector<std::string> options = {}) {
        makeFile(tv_ / "set.bin", content);
        options.insert(options.begin(), {"virtualizer", "upload", "hrtf", tv_ / "set.bin"});
        return run(options);
    };
    EXPECT_THAT(upload("0123456789").out, HasSubstr("uploaded 10 bytes in "));
    const Outcome good = upload("0123456789", {"--json", "--chunk", "3"});
    EXPECT_EQ(good.err, "") << "no progress bar but on a terminal";
    json answer = json::parse(good.out, nullptr, false);
    EXPECT_GT(answer["seconds"], 0);
    answer.erase("seconds");
    EXPECT_EQ(answer, json({{"handle", 7}, {"bytes", 10}, {"result", 0}}));
    EXPECT_THAT(upload("wait", {"--no-wait", "--json"}).out, HasSubstr("\"result\":null"));

    struct Row {
        std::string content;
        std::vector<std::string> options;
        int status;
        std::string errorPart;
    };
    for (const Row& row : {Row{"r", {}, 1, "ended with -1: the controller reports an error"},
                           {"b", {}, 1, "apply answered -3: busy"},
                           {"01234", {"--chunk", "5"}, 1, "append answered -2"},
                           {"w", {"--cancel-after", "0.01"}, 1, "ended with 1: cancelled"},
                           {"wait", {"--cancel-after", "0", "--timeout", "0.2"}, 4, "no result"},
                           {"w", {"--cancel-after", "1", "--no-wait"}, 2, "--cancel-after"},
                           {"", {}, 2, "is empty"}}) {
        const Outcome outcome = upload(row.content, row.options);
        EXPECT_EQ(outcome.status, row.status) << row.content;
        EXPECT_THAT(outcome.err, HasSubstr(row.errorPart));
    }
    EXPECT_THAT(run({"virtualizer", "upload", "hrtf", tv_ / "none"}).err, HasSubstr("none: No such file"));
    EXPECT_EQ(run({"virtualizer", "upload", "device", tv_.path()}).status, 2);
    EXPECT_EQ(run({"virtualizer", "upload", "other", tv_ / "set.bin"}).status, 2);
    // In mid upload, and while its end is waited for.
    EXPECT_EQ(upload("D123456789").status, 3);
    const auto another = serve({"virtualizer"});
    EXPECT_EQ(upload("wd", {"--cancel-after", "0"}).status, 3);
    EXPECT_EQ(upload("x").status, 3);
}

}  // namespace
}  // namespace hidlaudio::test
