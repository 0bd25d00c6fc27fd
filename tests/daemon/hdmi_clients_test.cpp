// SPDX-License-Identifier: Apache-2.0
#include <com/tovi/dtv/hardware/audio/3.1/IHdmiAudio.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <optional>
#include <random>
#include <sstream>
#include <thread>

#include "tests/support/becomes_true.h"
#include "tests/support/process_state.h"
#include "tests/support/run_program.h"

namespace hidlaudio::test {
namespace {

using android::sp;
using android::hardware::hidl_string;
using com::tovi::dtv::hardware::audio::V3_1::IHdmiAudio;
using testing::ElementsAre;
using Names = std::vector<std::string>;

Names linesOf(const std::string& text) {
    std::istringstream stream(text);
    Names lines;
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

/** A client process with a callback. */
class Client : public RunningProgram {
  public:
    explicit Client(const char* kind) : RunningProgram({HDMI_CLIENT, kind}) {}

    bool ready() const { return out().find("ready\n") != std::string::npos; }

    /** Returns the lines that its callbacks printed. */
    Names received() const {
        Names lines = linesOf(out());
        lines.erase(std::remove(lines.begin(), lines.end(), "ready"), lines.end());
        return lines;
    }

    void die() {
        kill(pid(), SIGKILL);
        wait();
    }

    /** Waits until the process has stopped itself in its callback. Returns false after 30 s. */
    bool stops() const {
        siginfo_t state{};
        return becomesTrue([&] {
            waitid(P_PID, static_cast<id_t>(pid()), &state, WSTOPPED | WNOHANG | WNOWAIT);
            return state.si_pid != 0;
        });
    }

    void goOn() const {
        siginfo_t state{};
        waitid(P_PID, static_cast<id_t>(pid()), &state, WSTOPPED);
        kill(pid(), SIGCONT);
    }
};

/** Starts the daemon on a temporary TV. */
class HdmiAudioClients : public testing::Test {
  protected:
    HdmiAudioClients() {
        makeFile(tv_ / "data/vendor/tmp/dtv_svc_is_ready");
        for (const char* key : {"arc_dd_plus_capab", "earc_ddp_cap", "arc_mpeg4_aac_lc_capab"}) {
            makeFile(tv_ / (std::string("soc/config/g_audio__") + key), "1\n");
        }
        daemon_.emplace(std::vector<std::string>{DAEMON});
        service_ = awaitService<IHdmiAudio>();
    }

    static std::unique_ptr<Client> registered(const char* kind) {
        auto client = std::make_unique<Client>(kind);
        EXPECT_TRUE(becomesTrue([&] { return client->ready(); }));
        return client;
    }

    int32_t set(const std::vector<hidl_string>& names) { return service_->setAudioCapabilities(names); }

    size_t count(const std::string& message) const {
        size_t found = 0;
        for (const std::string& line : linesOf(daemon_->err())) {
            const bool ends = line.size() >= message.size() &&
                              line.compare(line.size() - message.size(), message.size(), message) == 0;
            found += ends ? 1 : 0;
        }
        return found;
    }

    bool logs(size_t times, const std::string& message) const {
        return becomesTrue([&] { return count(message) >= times; }) && count(message) == times;
    }

    size_t descriptors() const { return countOf("fd", daemon_->pid()); }

    const std::string removal_ = "D hdmiaudio: remove callback";
    PrivateTv tv_{"data/vendor/tovi/hidlaudio", "soc/faults"};
    std::optional<RunningProgram> daemon_;
    sp<IHdmiAudio> service_;
};

TEST_F(HdmiAudioClients, CallbackIsCalledPerRegistrationUntilClientDies) {
    const auto twice = registered("twice");
    const auto once = registered("print");
    EXPECT_EQ(set({"ARC_DD_X", "ARC_DD_ATMOS"}), 0);
    EXPECT_THAT(twice->received(), ElementsAre("ARC_DD_X ARC_DD_ATMOS", "ARC_DD_X ARC_DD_ATMOS"));
    EXPECT_THAT(once->received(), ElementsAre("ARC_DD_X ARC_DD_ATMOS"));
    twice->die();
    EXPECT_TRUE(logs(2, removal_));
    once->die();
    EXPECT_TRUE(logs(3, removal_));
    EXPECT_EQ(set({"ARC_DD_PLUS"}), 0);
    EXPECT_EQ(contentOf(tv_ / "soc/config/g_audio__arc_dd_plus_capab"), "1\n");
}

TEST_F(HdmiAudioClients, CallbacksWaitForSlowClientBeforeThem) {
    const auto before = registered("print");
    const auto slow = registered("stop");
    const auto after = registered("print");
    auto setting = std::async(std::launch::async, [&] { return set({"ARC_DD_PLUS"}); });
    ASSERT_TRUE(slow->stops());
    EXPECT_THAT(before->received(), ElementsAre("ARC_DD_PLUS"));
    EXPECT_TRUE(after->received().empty()) << "its callback is called after the slow one";
    EXPECT_EQ(setting.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
    // A request that arrives now is neither served early nor lost.
    auto next = std::async(std::launch::async, [&] { return set({"ARC_DD_NONE"}); });
    slow->goOn();
    EXPECT_EQ(setting.get(), 0);
    ASSERT_TRUE(slow->stops());
    slow->goOn();
    EXPECT_EQ(next.get(), 0);
    for (const Client* client : {before.get(), slow.get(), after.get()}) {
        EXPECT_THAT(client->received(), ElementsAre("ARC_DD_PLUS", "ARC_DD_NONE"));
    }
}

TEST_F(HdmiAudioClients, CallbackIsCalledThoughEarlierClientDies) {
    const auto doomed = registered("stop");
    const auto unaware = registered("stop");
    const auto after = registered("print");
    auto setting = std::async(std::launch::async, [&] { return set({"ARC_DD_PLUS"}); });
    ASSERT_TRUE(doomed->stops());
    unaware->die();  // its death notice cannot be served before its callback is called
    doomed->die();
    EXPECT_EQ(setting.get(), 0);
    EXPECT_THAT(after->received(), ElementsAre("ARC_DD_PLUS"));
    EXPECT_TRUE(logs(2, removal_));
    EXPECT_EQ(set({"ARC_DD_NONE"}), 0);
    EXPECT_THAT(after->received(), ElementsAre("ARC_DD_PLUS", "ARC_DD_NONE"));
}

// Each callback has its own death notice. If the time of a removal grew with the number of callbacks, the
// daemon would not serve other requests for minutes.
TEST_F(HdmiAudioClients, ThousandsOfCallbacksAreRemovedQuickly) {
    constexpr size_t kCallbacks = 16000;
    const auto many = registered(std::to_string(kCallbacks).c_str());
    many->die();
    auto setting = std::async(std::launch::async, [&] { return set({"ARC_DD_PLUS"}); });
    EXPECT_EQ(setting.wait_for(std::chrono::seconds(30)), std::future_status::ready);
    EXPECT_EQ(setting.get(), 0);
    EXPECT_TRUE(becomesTrue([&] { return count(removal_) == kCallbacks + 1; }));
}

// Each change contains its number: the service passes on every name that starts like a capability.
TEST_F(HdmiAudioClients, RandomClientsReceiveEveryChange) {
    constexpr int kClients = 200;
    constexpr size_t kAtOnce = 12;
    const uint32_t seed = std::random_device()();
    SCOPED_TRACE(seed);
    std::minstd_rand random(seed);
    // Called on another thread, as below: each calling thread has its own channel to the daemon. A channel
    // with many calls has more descriptors.
    std::thread([&] {
        for (int i = 0; i < 50; ++i) EXPECT_EQ(set({"ARC_DD_PLUS"}), 0);
    }).join();
    const size_t before = descriptors();
    std::atomic<int> begun{0};
    std::atomic<bool> over{false};
    std::thread setter([&] {
        while (!over) EXPECT_EQ(set({"ARC_DD_PLUS", "ARC_DD_#" + std::to_string(++begun)}), 0);
    });
    struct Living {
        std::unique_ptr<Client> client;
        int begunBefore;  // it must receive all later changes; 0 if not yet registered
    };
    std::vector<Living> living;
    for (int i = 0; i < kClients; ++i) {
        const bool mayRegister = random() % 4 != 0;  // other clients are killed before they have registered
        living.push_back({mayRegister ? registered("print") : std::make_unique<Client>("print"), 0});
        if (mayRegister) living.back().begunBefore = begun;
        if (living.size() <= kAtOnce) continue;
        const size_t victim = random() % living.size();
        living[victim].client->die();
        living.erase(living.begin() + static_cast<ptrdiff_t>(victim));
    }
    for (Living& survivor : living) {
        if (survivor.begunBefore != 0) continue;
        EXPECT_TRUE(becomesTrue([&] { return survivor.client->ready(); }));
        survivor.begunBefore = begun;
    }
    const int allReady = begun;
    EXPECT_TRUE(becomesTrue([&] { return begun > allReady + 2; }));
    over = true;
    setter.join();
    for (const Living& survivor : living) {
        const Names received = survivor.client->received();
        ASSERT_FALSE(received.empty());
        const int first = begun - static_cast<int>(received.size()) + 1;
        EXPECT_LE(first, survivor.begunBefore + 1);
        for (size_t i = 0; i < received.size(); ++i) {
            ASSERT_EQ(received[i], "ARC_DD_PLUS ARC_DD_#" + std::to_string(first + static_cast<int>(i)));
        }
    }
    for (const Living& survivor : living) survivor.client->die();
    EXPECT_TRUE(becomesTrue([&] { return descriptors() == before; })) << descriptors() << " not " << before;
    EXPECT_TRUE(becomesTrue([&] { return count(removal_) == count("D hdmiaudio: set callback"); }));
    EXPECT_EQ(set({"ARC_DD_PLUS"}), 0);
}

}  // namespace
}  // namespace hidlaudio::test
