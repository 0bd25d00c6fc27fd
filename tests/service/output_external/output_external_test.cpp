// SPDX-License-Identifier: Apache-2.0
#include <errno.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/kernel/faults/faults.h"
#include "output_external/OutputEncodingStatusListener.h"
#include "output_external/OutputExternal.h"
#include "tests/support/log_text.h"
#include "tests/support/private_tv.h"

namespace hidlaudio::test {
namespace {

namespace fs = std::filesystem;
using namespace com::tovi::dtv::hardware::audio::V3_1;
using android::sp;
using android::hardware::hidl_string;
using testing::ElementsAre;
using std::string_literals::operator""s;

const std::string kOn(4, '\0');
const std::string kOff = "\2\0\0\0"s;
const std::string kModePath = "/data/vendor/tovi/hidlaudio/bitstream_output_mode.data";
constexpr char kOpened[] = "D OutputExternal mtal open success";

std::string openFailure(const std::string& function, int error) {
    return "E [" + function + "] open file " + kModePath + " failed, errno " + std::to_string(error);
}

class OutputExternal : public testing::Test {
  protected:
    OutputExternal() {
        makeFile(tv_ / "data/vendor/tmp/dtv_svc_is_ready");
        makeFile(store_, "1\n");
    }

    /** Constructs the service, as the daemon does at start. */
    static sp<IOutputExternal> start() { return new implementation::OutputExternal; }

    std::vector<std::string> logged() { return takeText(log_, "output_external_test"); }

    void fail(const std::string& function, const std::string& fault) {
        makeFile(tv_ / "soc/faults/" + function, fault);
    }

    PrivateTv tv_{"data/vendor/tovi/hidlaudio", "soc/faults"};
    host::LogCapture log_;
    const std::string store_ = tv_ / "soc/config/g_audio__bitstream_output_mode";
    const std::string file_ = tv_.path() + kModePath;
    const std::string folder_ = fs::path(file_).parent_path();
};

TEST_F(OutputExternal, SettingIsPersistedFromFirstBoot) {
    sp<IOutputExternal> service = start();
    EXPECT_THAT(
        logged(),
        ElementsAre(kOpened,
                    "D [OutputExternal] prev setting not exist. set bitstream output mode 0,  result 0"));
    EXPECT_EQ(contentOf(file_), "");
    EXPECT_EQ(contentOf(store_), "0\n");
    EXPECT_TRUE(service->getForceEncodingEnabled());
    EXPECT_THAT(logged(),
                ElementsAre("D [getForceEncodingEnabled] start", "D [getForceEncodingEnabled] end ret:1"));

    EXPECT_EQ(service->setForceEncodingEnabled(false), 0);
    EXPECT_THAT(logged(), ElementsAre("D [setForceEncodingEnabled] start enable:0",
                                      "D [setForceEncodingEnabled] write(data=2) ret = 4",
                                      "D [setForceEncodingEnabled] end ret:0"));
    EXPECT_EQ(contentOf(store_), "2\n");
    EXPECT_EQ(contentOf(file_), kOff);

    makeFile(store_, "0\n");  // changed by another component of the TV
    EXPECT_TRUE(service->getForceEncodingEnabled());
    service = start();
    EXPECT_FALSE(service->getForceEncodingEnabled());
    EXPECT_EQ(service->setForceEncodingEnabled(true), 0);
    EXPECT_EQ(contentOf(file_), kOn);
    EXPECT_EQ(contentOf(store_), "0\n");
}

TEST_F(OutputExternal, RestoresModeFromFile) {
    for (const auto& [content, mode] : {std::pair("\1"s, "1"),
                                        {"\1\2\3"s, "197121"},
                                        {"\5\0\0\0"s, "5"},
                                        {kOff + "x", "2"},
                                        {std::string(100, '\xff'), "-1"}}) {
        makeFile(file_, content);
        const sp<IOutputExternal> service = start();
        EXPECT_THAT(logged(), ElementsAre(kOpened, "D [OutputExternal] set bitstream output mode "s + mode +
                                                       ",  result 0"));
        EXPECT_EQ(contentOf(store_), mode + "\n"s);
        EXPECT_EQ(contentOf(file_), content);
        EXPECT_FALSE(service->getForceEncodingEnabled());
        EXPECT_EQ(service->setForceEncodingEnabled(false), 0);
        EXPECT_EQ(contentOf(file_), kOff + (content.size() > 4 ? content.substr(4) : ""));
        logged();
    }
}

TEST_F(OutputExternal, WorksIfFileCannotBeOpened) {
    const auto works = [&](int error) {
        makeFile(store_, "1\n");
        const sp<IOutputExternal> service = start();
        EXPECT_THAT(logged(), ElementsAre(kOpened, openFailure("OutputExternal", error)));
        EXPECT_EQ(contentOf(store_), "1\n") << "no mode is restored";
        EXPECT_EQ(service->setForceEncodingEnabled(false), 0);
        EXPECT_EQ(logged()[1], openFailure("setForceEncodingEnabled", error));
        EXPECT_EQ(contentOf(store_), "2\n");
    };
    fs::create_directory(file_);
    works(EISDIR);
    fs::remove_all(folder_);
    works(ENOENT);

    // The file is created only at start.
    fs::create_directory(folder_);
    const sp<IOutputExternal> service = start();
    fs::remove(file_);
    logged();
    EXPECT_EQ(service->setForceEncodingEnabled(false), 0);
    EXPECT_EQ(logged()[1], openFailure("setForceEncodingEnabled", ENOENT));
    EXPECT_FALSE(fs::exists(file_));
}

TEST_F(OutputExternal, ReturnsStatusOfRefusingMiddleware) {
    makeFile(file_, kOff);
    fail("MTAL_InitExCb", "-5 1\n");
    fail("a_mtktvapi_config_set_value", "-6 2\n");
    fail("a_mtktvapi_config_get_value", "-7 1\n");
    const sp<IOutputExternal> service = start();
    EXPECT_THAT(logged(), ElementsAre("E ERROR: OutputExternal MTAL_Init.... , r = -5 \n",
                                      "D [OutputExternal] set bitstream output mode 2,  result -6"));
    EXPECT_EQ(service->setForceEncodingEnabled(true), -6);
    EXPECT_THAT(logged(), ElementsAre("D [setForceEncodingEnabled] start enable:1",
                                      "E setForceEncodingEnabled, MTKTVAPI failed:ret = -6\n",
                                      "D [setForceEncodingEnabled] end ret:-6"));
    EXPECT_EQ(contentOf(file_), kOff);
    makeFile(store_, "0\n");
    EXPECT_FALSE(service->getForceEncodingEnabled());
    EXPECT_THAT(logged(), ElementsAre("D [getForceEncodingEnabled] start",
                                      "E getForceEncodingEnabled, MTKTVAPI failed:ret = -7\n"));
}

TEST_F(OutputExternal, FailingCallIsLoggedAndDamagesNothing) {
    const auto openFiles = [] { return std::distance(fs::directory_iterator("/proc/self/fd"), {}); };
    const auto scenario = [&] {
        makeFile(file_, kOff);
        const auto before = openFiles();
        const sp<IOutputExternal> service = start();
        EXPECT_EQ(service->setForceEncodingEnabled(true), 0);
        EXPECT_TRUE(service->getForceEncodingEnabled());
        EXPECT_EQ(openFiles(), before);
        EXPECT_THAT(contentOf(file_), testing::AnyOf(kOn, kOff));
        return logged();
    };
    const std::vector<std::string> baseline = scenario();
    for (const std::string call : {"open", "read", "write", "close"}) {
        for (const int error : {EINTR, EIO}) {
            for (unsigned n = 1;; ++n) {
                SCOPED_TRACE(call + " " + std::to_string(error) + " " + std::to_string(n));
                const host::ScopedFault fault({call, n, error});
                const std::vector<std::string> lines = scenario();
                if (!fault.injected()) break;
                EXPECT_EQ(lines == baseline, error == EINTR || call == "close");
                EXPECT_TRUE(error != EINTR || contentOf(file_) == kOn) << "EINTR must not lose the setting";
            }
        }
    }
    const host::ScopedFault shortWrite({"write", 1, 0, false, 1});
    EXPECT_EQ(scenario()[3], "D [setForceEncodingEnabled] write(data=0) ret = 1");
}

TEST_F(OutputExternal, OtherMethodsReturnFixedValues) {
    const sp<IOutputExternal> service = start();
    const sp<IOutputEncodingStatusListener> listener = new implementation::OutputEncodingStatusListener;
    logged();
    std::vector<std::string> answers;
    const auto addFormat = [&](const hidl_string& format) { answers.push_back(format); };
    const auto addCount = [&](const auto& formats) { answers.push_back(std::to_string(formats.size())); };
    EXPECT_EQ(service->setEncodingFormat("nonsense"), 0);
    EXPECT_TRUE(service->getEncodingFormat(addFormat).isOk());
    EXPECT_TRUE(service->getAvailableEncodingFormats(addCount).isOk());
    EXPECT_THAT(answers, ElementsAre("auto", "0"));
    EXPECT_EQ(service->registerEncodingFormatListener(listener), 0);
    EXPECT_EQ(service->unregisterEncodingFormatListener(nullptr), 0);
    EXPECT_EQ(listener->getStrongCount(), 1) << "the service keeps no reference";
    EXPECT_TRUE(listener->onForceEncodingChanged(true).isOk());
    EXPECT_TRUE(listener->onEncodingFormatChanged("auto").isOk());
    EXPECT_THAT(
        logged(),
        ElementsAre("D [setEncodingFormat] start", "D [getEncodingFormat] start",
                    "D [getAvailableEncodingFormats] start", "D [registerEncodingFormatListener] start",
                    "D [unregisterEncodingFormatListener] start", "D [onForceEncodingChanged] start",
                    "D [onEncodingFormatChanged] start"));
}

}  // namespace
}  // namespace hidlaudio::test
