// SPDX-License-Identifier: Apache-2.0
#include <com/tovi/dtv/hardware/audio/5.1/IHeadphoneVirtualizer.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <string.h>
#include <sys/wait.h>

#include <algorithm>
#include <future>

#include "tests/support/back_end_tv.h"
#include "tests/support/becomes_true.h"
#include "tests/support/process_state.h"
#include "tests/support/run_program.h"
#include "tests/support/sanitizers.h"

namespace hidlaudio::test {
namespace {

using namespace com::tovi::dtv::hardware::audio;
using android::sp;
using V5_1::IHeadphoneVirtualizer;

struct Callback : V5_0::IHeadphoneVirtualizerCallback {
    android::hardware::Return<void> onApplyResult(int32_t value) override {
        result.set_value(value);
        return android::hardware::Void();
    }
    std::promise<int32_t> result;
};

/** Starts an upload of one byte. Returns its handle, or 0 if that failed. */
int32_t startUpload(const sp<IHeadphoneVirtualizer>& service, const sp<Callback>& callback) {
    const int32_t handle = service->allocateParameterBuffer(V5_0::ParamType::HRTF, 1);
    const bool started = service->append(handle, {7}) == 0 && service->apply(handle, callback) == 0;
    return started ? handle : 0;
}

/** Starts an upload from a client process and kills the client. Returns the handle of the upload. */
int32_t uploadAndDie() {
    int pipes[2];
    EXPECT_EQ(pipe(pipes), 0);
    const pid_t client = fork();
    if (client == 0) {
        const int32_t handle = startUpload(awaitService<IHeadphoneVirtualizer>(), new Callback);
        (void)!write(pipes[1], &handle, sizeof(handle));
        pause();
        _exit(0);
    }
    int32_t handle = 0;
    close(pipes[1]);
    EXPECT_EQ(read(pipes[0], &handle, sizeof(handle)), static_cast<ssize_t>(sizeof(handle)));
    close(pipes[0]);
    kill(client, SIGKILL);
    EXPECT_EQ(waitpid(client, nullptr, 0), client);
    return handle;
}

TEST(VirtualizerDaemon, UploadOfDeadClientIsFinished) {
    const BackEndTv tv;
    tv.behave("hang\n");
    const RunningProgram daemon({DAEMON});
    const auto logged = [&](const char* text) {
        return becomesTrue([&] { return daemon.err().find(text) != std::string::npos; });
    };
    const int32_t handle = uploadAndDie();
    ASSERT_GT(handle, 0);
    EXPECT_TRUE(logged("read proc file(state)=0x1"));
    const auto service = awaitService<IHeadphoneVirtualizer>();
    EXPECT_EQ(service->cancel(handle), 0);
    EXPECT_TRUE(logged("the client cannot be told: 1"));
    EXPECT_TRUE(logged("paramTransferThread finished"));
    EXPECT_EQ(contentOf(tv / "power/wake_lock"), "");

    tv.behave("");
    const sp<Callback> callback = new Callback;
    std::future<int32_t> result = callback->result.get_future();
    EXPECT_GT(startUpload(service, callback), 0);
    ASSERT_EQ(result.wait_for(std::chrono::seconds(30)), std::future_status::ready);
    EXPECT_EQ(result.get(), 0);
    EXPECT_EQ(tv.received(host::UploadKind::Hrtf), "\7");
}

/** Returns the daemon's resident memory in bytes: current ("VmRSS:") or peak ("VmHWM:"). */
size_t memoryOf(const RunningProgram& daemon, const std::string& field) {
    const std::string status = contentOf(procFolder(daemon.pid()) + "/status");
    return 1024 * std::stoul(status.substr(status.find(field) + field.size() + 1));
}

TEST(VirtualizerDaemon, LargeUploadIsHeldOnceAndDaemonSleepsAfterwards) {
    constexpr size_t kMiB = 1048576;
    const BackEndTv tv;
    tv.behave("rate 2147483647\n");
    const RunningProgram daemon({DAEMON});
    const auto service = awaitService<IHeadphoneVirtualizer>();
    std::vector<uint8_t> piece(kMiB / 4);
    for (size_t i = 0; i < piece.size(); ++i) piece[i] = static_cast<uint8_t>(i * 2654435761U >> 13);
    ASSERT_EQ(service->append(service->allocateParameterBuffer(V5_0::ParamType::DEVICE, kMiB / 4), piece), 0);
    const size_t before = memoryOf(daemon, "VmRSS:");
    const int32_t handle = service->allocateParameterBuffer(V5_0::ParamType::HRTF, 64 * kMiB);
    for (uint8_t i = 0; i < 255; ++i) {
        piece[0] = i;
        ASSERT_EQ(service->append(handle, piece), 0);
    }
    ASSERT_EQ(service->append(handle, piece), 0);
    const sp<Callback> callback = new Callback;
    std::future<int32_t> result = callback->result.get_future();
    EXPECT_EQ(service->apply(handle, callback), 0);
    ASSERT_EQ(result.wait_for(std::chrono::seconds(30)), std::future_status::ready);
    EXPECT_EQ(result.get(), 0);
    const std::string received = tv.received(host::UploadKind::Hrtf);
    ASSERT_EQ(received.size(), 64 * kMiB);
    for (size_t i = 0; i < 256; ++i) {
        piece[0] = static_cast<uint8_t>(std::min<size_t>(i, 254));
        ASSERT_EQ(memcmp(received.data() + i * piece.size(), piece.data(), piece.size()), 0) << i;
    }
    if (!kAddressSanitizer && !kThreadSanitizer) {
        EXPECT_LT(memoryOf(daemon, "VmHWM:"), before + 66 * kMiB);
        EXPECT_TRUE(becomesTrue([&] { return memoryOf(daemon, "VmRSS:") < before + 2 * kMiB; }));
    }
    if (kThreadSanitizer) return;  // its own thread wakes up periodically
    EXPECT_TRUE(fallsAsleep(daemon.pid()));
}

}  // namespace
}  // namespace hidlaudio::test
