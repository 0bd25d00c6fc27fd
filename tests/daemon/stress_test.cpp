// SPDX-License-Identifier: Apache-2.0
#include <android/hardware/audio/5.0/IDevicesFactory.h>
#include <com/tovi/dtv/hardware/audio/5.1/IHeadphoneVirtualizer.h>
#include <com/tovi/dtv/hardware/audio/6.1/IMicControl.h>
#include <gmock/gmock.h>
#include <signal.h>

#include <chrono>
#include <memory>
#include <random>
#include <thread>

#include "tests/support/back_end_tv.h"
#include "tests/support/process_state.h"
#include "tests/support/run_program.h"
#include "tests/support/sanitizers.h"

namespace hidlaudio::test {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::Not;

constexpr size_t kClients = 5;

/** Returns whether the program runs. If it has ended, `status` becomes its exit status. */
bool runs(RunningProgram& program, int& status) {
    siginfo_t state{};
    waitid(P_PID, static_cast<id_t>(program.pid()), &state, WEXITED | WNOHANG | WNOWAIT);
    if (state.si_pid == 0) return true;
    status = program.wait();
    return false;
}

/**
 * Clients call all services at random, also from inside their callbacks. Clients and the audio HAL are killed
 * while uploads run. A service that is not thread-safe crashes within one or two seconds, or is reported by
 * the thread sanitizer.
 */
TEST(Stress, ClientsCallFromInsideTheirCallbacksAndDie) {
    const uint32_t seed = std::random_device()();
    SCOPED_TRACE(seed);
    std::minstd_rand random(seed);
    const BackEndTv tv;
    tv.behave("rate 2147483647\n");
    makeFile(tv / "hal/parameters/builtin_mic_gain", "0.25\n");
    for (const char* key : {"tv_position", "bitstream_output_mode", "arc_dd_plus_capab",
                            "arc_mpeg4_aac_lc_capab", "earc_ddp_cap"}) {
        makeFile(tv / (std::string("soc/config/g_audio__") + key), "1\n");
    }
    auto hal = std::make_unique<RunningProgram>(std::vector<std::string>{AUDIO_HAL});
    awaitService<android::hardware::audio::V5_0::IDevicesFactory>();
    RunningProgram daemon({DAEMON}, {"HIDLAUDIO_CLOCK=1000"});
    const auto service = awaitService<com::tovi::dtv::hardware::audio::V5_1::IHeadphoneVirtualizer>();
    awaitService<com::tovi::dtv::hardware::audio::V6_1::IMicControl>();
    const size_t descriptors = countOf("fd", daemon.pid());
    const size_t threads = countOf("task", daemon.pid());
    const auto start = [&] {
        return std::make_unique<RunningProgram>(
            std::vector<std::string>{SOAK_CLIENT, std::to_string(random())});
    };
    std::unique_ptr<RunningProgram> clients[kClients];
    for (auto& client : clients) client = start();
    int status = 0;
    const auto end = std::chrono::steady_clock::now() + 3s;
    for (int round = 0; std::chrono::steady_clock::now() < end; ++round) {
        std::this_thread::sleep_for(std::chrono::milliseconds(random() % 300));
        ASSERT_TRUE(runs(daemon, status)) << "the daemon ended with " << status << "\n" << daemon.err();
        auto& client = clients[random() % kClients];
        if (!runs(*client, status)) {
            EXPECT_EQ(status, 0) << client->err();
        }
        client = start();
        if (round % 5 == 2) hal = std::make_unique<RunningProgram>(std::vector<std::string>{AUDIO_HAL});
    }
    for (auto& client : clients) client.reset();
    // The thread sanitizer starts its own thread when the daemon creates its first thread.
    const size_t rest = kThreadSanitizer ? threads + 1 : threads;
    EXPECT_TRUE(becomesTrue([&] { return countOf("task", daemon.pid()) <= rest; })) << "an upload hangs";
    EXPECT_TRUE(becomesTrue([&] { return countOf("fd", daemon.pid()) <= descriptors; }));
    EXPECT_EQ(service->getMaxAppendSize(), 262144);
    EXPECT_EQ(contentOf(tv / "power/wake_lock"), "");
    EXPECT_THAT(daemon.err(), Not(HasSubstr("ThreadSanitizer")));
}

}  // namespace
}  // namespace hidlaudio::test
