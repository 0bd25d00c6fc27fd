// SPDX-License-Identifier: Apache-2.0
#include <nlohmann/json.hpp>

#include "audioctl.h"

namespace hidlaudio::test {
namespace {

using nlohmann::json;
using testing::HasSubstr;

TEST_F(AudioctlTv, VirtualizerSettingsAreReadAndSet) {
    const auto daemon = startDaemon();
    expectAll({{{"virtualizer", "status"}, 0, "off\n", ""},
               {{"virtualizer", "on"}, 0, "", ""},
               {{"virtualizer", "status", "--json"}, 0, "{\"value\":true}\n", ""},
               {{"virtualizer", "off", "--json"}, 0, "{\"result\":0}\n", ""},
               {{"virtualizer", "upmix"}, 0, "on\n", ""},
               {{"virtualizer", "upmix", "off"}, 0, "", ""},
               {{"virtualizer", "type"}, 0, "Tovi\n", ""},
               {{"virtualizer", "type", "tovi"}, 1, "", "virtualizer types"},
               {{"virtualizer", "types"}, 0, "Tovi\n", ""},
               {{"virtualizer", "max-append"}, 0, "262144\n", ""}});
    tv_.fail("MTDRVCUST_dcustom_cust_spec_set", "-5 1");
    expectAll({{{"virtualizer", "upmix", "on", "--json"}, 1, "{\"result\":-5}\n", "no back-end controller"}});
}

TEST_F(AudioctlTv, UploadReportsResultOfController) {
    auto daemon = startDaemon();
    const auto upload = [this](const std::string& content, std::vector<std::string> options = {}) {
        makeFile(tv_ / "set.bin", content);
        options.insert(options.begin(), {"virtualizer", "upload", "hrtf", tv_ / "set.bin"});
        return run(options);
    };
    EXPECT_THAT(upload("0123456789").out, HasSubstr("uploaded 10 bytes in "));
    const Outcome good = upload("9876543210", {"--json", "--chunk", "3"});
    EXPECT_EQ(good.err, "") << "a progress bar is only shown on a terminal";
    EXPECT_EQ(tv_.received(host::UploadKind::Hrtf), "9876543210");
    json answer = json::parse(good.out, nullptr, false);
    EXPECT_GT(answer["seconds"], 0);
    EXPECT_GT(answer["handle"], 0);
    EXPECT_EQ(answer["bytes"], 10);
    EXPECT_EQ(answer["result"], 0);

    struct Row {
        std::string behaviour, content;
        std::vector<std::string> options;
        int status;
        std::string errorPart;
    };
    // The waits are long enough for an upload to start on a busy machine.
    for (const Row& row : {Row{"result 0xF3", "x", {}, 1, "ended with -1: the controller reported an error"},
                           {"", std::string(262145, 'x'), {"--chunk", "262145"}, 1, "append returned -2"},
                           {"hang", "x", {"--cancel-after", "0.5"}, 1, "ended with 1: canceled"},
                           {"hang", "x", {"--timeout", "2"}, 4, "no result"},
                           {"", "x", {"--cancel-after", "1", "--no-wait"}, 2, "--cancel-after"},
                           {"", "", {}, 2, "is empty"}}) {
        tv_.behave(row.behaviour + "\n");
        const Outcome outcome = upload(row.content, row.options);
        EXPECT_EQ(outcome.status, row.status) << row.behaviour << outcome.err;
        EXPECT_THAT(outcome.err, HasSubstr(row.errorPart));
    }
    tv_.behave("");
    tv_.setState(host::UploadKind::Device, std::string("\1\0", 2));
    EXPECT_THAT(upload("x").err, HasSubstr("apply returned -3: busy"));
    tv_.setState(host::UploadKind::Device, std::string(2, '\0'));
    EXPECT_THAT(upload("x", {"--no-wait", "--json"}).out, HasSubstr("\"result\":null"));
    EXPECT_THAT(run({"virtualizer", "upload", "hrtf", tv_ / "none"}).err, HasSubstr("none: No such file"));
    EXPECT_EQ(run({"virtualizer", "upload", "device", tv_.path()}).status, 2);

    // The service dies while the client waits for the end of the upload.
    daemon.reset();
    daemon = startDaemon({"HIDLAUDIO_FAULT=ioctl:1:dies"});
    EXPECT_EQ(upload("x").status, 3);
    EXPECT_EQ(daemon->wait(), 128 + SIGKILL);
}

}  // namespace
}  // namespace hidlaudio::test
