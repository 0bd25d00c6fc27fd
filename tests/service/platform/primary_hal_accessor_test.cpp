// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/prctl.h>

#include "host/kernel/log.h"
#include "platform/PrimaryHalAccessor.h"
#include "tests/support/fake_hal.h"
#include "tests/support/own_process.h"
#include "tests/support/private_tv.h"

namespace hidlaudio::test {
namespace {

class PrimaryHalAccessor : public testing::Test {
  protected:
    /** Gets the device, as each service does in its constructor. */
    static sp<IPrimaryDevice> ask() {
        return com::tovi::dtv::hardware::audio::platform::PrimaryHalAccessor().getHalPrimaryDevice();
    }

    PrivateTv tv_{};
    const host::LogCapture log_;
};

TEST_F(PrimaryHalAccessor, OpensDeviceOncePerProcess) {
    inOwnProcess([&] {
        const sp<FakeHal> hal = FakeHal::start();
        EXPECT_EQ(ask(), hal->device);
        const sp<FakeHal> another = FakeHal::start();
        const int references = another->getStrongCount();
        for (int i = 0; i < 2; ++i) EXPECT_EQ(ask(), hal->device);
        EXPECT_EQ(hal->opens, 1);
        EXPECT_EQ(another->opens, 0);
        EXPECT_EQ(another->getStrongCount(), references) << "no proxy of the second HAL was requested";
    });
}

TEST_F(PrimaryHalAccessor, RetriesUntilDeviceExists) {
    inOwnProcess([&] {
        for (int i = 0; i < 2; ++i) EXPECT_EQ(ask(), nullptr);
        const sp<FakeHal> hal = FakeHal::start();
        const sp<FakeDevice> device = std::exchange(hal->device, nullptr);
        hal->result = Result::NOT_INITIALIZED;
        for (const int opens : {1, 2}) {
            EXPECT_EQ(ask(), nullptr);
            EXPECT_EQ(hal->opens, opens);
        }
        // A device is accepted even if the HAL returns an error with it.
        hal->device = device;
        for (int i = 0; i < 2; ++i) EXPECT_EQ(ask(), device);
        EXPECT_EQ(hal->opens, 3);
    });
}

TEST_F(PrimaryHalAccessor, SurvivesHalThatDiesWhileOpening) {
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    const pid_t dying = fork();
    if (dying == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        const sp<FakeHal> hal = FakeHal::start();
        hal->onOpen = [] { raise(SIGKILL); };
        android::hardware::configureRpcThreadpool(1, true);
        close(ready[1]);
        android::hardware::joinRpcThreadpool();
    }
    close(ready[1]);
    char byte;
    EXPECT_EQ(read(ready[0], &byte, 1), 0) << "the pipe is closed after registration";
    close(ready[0]);
    inOwnProcess([&] {
        EXPECT_EQ(ask(), nullptr);
        const sp<FakeHal> hal = FakeHal::start();
        EXPECT_EQ(ask(), hal->device);
    });
    int status = 0;
    EXPECT_EQ(waitpid(dying, &status, 0), dying);
    EXPECT_EQ(WTERMSIG(status), SIGKILL);
}

}  // namespace
}  // namespace hidlaudio::test
