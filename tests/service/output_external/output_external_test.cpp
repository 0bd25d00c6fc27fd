// SPDX-License-Identifier: Apache-2.0
#include <errno.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/kernel/faults/faults.h"
#include "host/kernel/log.h"
#include "output_external/OutputExternal.h"
#include "tests/support/private_tv.h"

namespace hidlaudio::test {
namespace {

namespace fs = std::filesystem;
using namespace com::tovi::dtv::hardware::audio::V3_1;
using android::sp;
using std::string_literals::operator""s;

const std::string kOn(4, '\0');
const std::string kOff = "\2\0\0\0"s;
const std::string kModePath = "/data/vendor/tovi/hidlaudio/bitstream_output_mode.data";

class OutputExternal : public testing::Test {
  protected:
    OutputExternal() {
        makeFile(tv_ / "data/vendor/tmp/dtv_svc_is_ready");
        makeFile(store_, "1\n");
    }

    /** Constructs the service, as the daemon does at start. */
    static sp<IOutputExternal> start() { return new implementation::OutputExternal; }

    PrivateTv tv_{"data/vendor/tovi/hidlaudio"};
    host::LogCapture log_;
    const std::string store_ = tv_ / "soc/config/g_audio__bitstream_output_mode";
    const std::string file_ = tv_.path() + kModePath;
    const std::string folder_ = fs::path(file_).parent_path();
};

TEST_F(OutputExternal, SettingIsPersistedFromFirstBoot) {
    sp<IOutputExternal> service = start();
    EXPECT_EQ(contentOf(file_), "");
    EXPECT_EQ(contentOf(store_), "0\n");
    EXPECT_TRUE(service->getForceEncodingEnabled());
    EXPECT_EQ(service->setForceEncodingEnabled(false), 0);
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
        EXPECT_EQ(contentOf(store_), mode + "\n"s);
        EXPECT_EQ(contentOf(file_), content);
        EXPECT_FALSE(service->getForceEncodingEnabled());
        EXPECT_EQ(service->setForceEncodingEnabled(false), 0);
        EXPECT_EQ(contentOf(file_), kOff + (content.size() > 4 ? content.substr(4) : ""));
    }
}

TEST_F(OutputExternal, WorksIfFileCannotBeOpened) {
    const auto works = [&] {
        makeFile(store_, "1\n");
        const sp<IOutputExternal> service = start();
        EXPECT_EQ(contentOf(store_), "1\n") << "no mode is restored";
        EXPECT_EQ(service->setForceEncodingEnabled(false), 0);
        EXPECT_EQ(contentOf(store_), "2\n");
    };
    fs::create_directory(file_);
    works();
    fs::remove_all(folder_);
    works();

    // The file is created only at start.
    fs::create_directory(folder_);
    const sp<IOutputExternal> service = start();
    fs::remove(file_);
    EXPECT_EQ(service->setForceEncodingEnabled(false), 0);
    EXPECT_FALSE(fs::exists(file_));
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
        return log_.take();
    };
    const std::vector<host::LogLine> baseline = scenario();
    for (const std::string call : {"open", "read", "write", "close"}) {
        for (const int error : {EINTR, EIO}) {
            for (unsigned n = 1;; ++n) {
                SCOPED_TRACE(call + " " + std::to_string(error) + " " + std::to_string(n));
                const host::ScopedFault fault({call, n, error});
                const std::vector<host::LogLine> lines = scenario();
                if (!fault.injected()) break;
                EXPECT_EQ(lines == baseline, error == EINTR || call == "close");
                EXPECT_TRUE(error != EINTR || contentOf(file_) == kOn) << "EINTR must not lose the setting";
            }
        }
    }
}

}  // namespace
}  // namespace hidlaudio::test
