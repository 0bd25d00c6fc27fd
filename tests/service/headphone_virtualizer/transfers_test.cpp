// SPDX-License-Identifier: Apache-2.0
#include <errno.h>

#include <future>
#include <thread>

#include "fixture.h"
#include "headphone_virtualizer/back_end_transfer.h"

namespace hidlaudio::test {
namespace {

namespace fs = std::filesystem;
namespace headphone_virtualizer = com::tovi::dtv::hardware::audio::headphone_virtualizer;
using namespace std::literals;
using host::ScopedFault;
using host::SteppedClock;

constexpr char kTransferring[] = "D [paramTransferThread] read proc file(state)=0x1";

class Transfers : public Virtualizer {
  protected:
    Transfers() { tv_.behave(kFast); }
    ~Transfers() override {
        callback_->hold(false);
        other_->hold(false);
        host::setClockSpeed(1);
    }

    static long entries(const char* folder) {
        return std::distance(fs::directory_iterator(folder), fs::directory_iterator());
    }

    /** Uploads `bytes`. Returns the result of the callback, or kNoResult if apply() fails. */
    int32_t upload(ParamType type, const std::string& bytes) {
        callback_ = new Callback;
        log_.take();
        if (service_->apply(fill(type, bytes), callback_) != 0) return kNoResult;
        const int32_t result = callback_->await();
        loggedUntil(kFinished);
        EXPECT_EQ(callback_->results().size(), 1U);
        EXPECT_EQ(contentOf(tv_ / "power/wake_lock").find(type == ParamType::HRTF ? "Hrtf" : "Device"),
                  std::string::npos);
        return result;
    }

    /** Starts a device upload whose callback blocks, so that the other kind has to wait. */
    void blockDevice() {
        other_->hold(true);
        EXPECT_EQ(service_->apply(fill(ParamType::DEVICE, ""), other_), 0);
        EXPECT_EQ(other_->await(), 0);
    }

    static constexpr char kFast[] = "rate 2147483647\n";
    sp<Callback> callback_ = new Callback;
    sp<Callback> other_ = new Callback;
};

TEST_F(Transfers, ControllerReceivesEveryByte) {
    for (const auto& [type, kind] :
         {std::pair(ParamType::DEVICE, UploadKind::Device), {ParamType::HRTF, UploadKind::Hrtf}}) {
        for (const size_t size : {0U, 1U, 262144U, 262145U, 5000000U}) {
            std::string bytes(size, '\0');
            for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>(i * 2654435761U >> 13);
            EXPECT_EQ(upload(type, bytes), 0) << size;
            EXPECT_TRUE(tv_.received(kind) == bytes) << size;
        }
    }
}

TEST_F(Transfers, CallbackReportsResultOfController) {
    struct Report {
        std::string state, result;
        int32_t code;
    };
    for (const Report& report : {Report{"0", "0", -3},
                                 {"0", "1", 0},
                                 {"0", "2", -3},
                                 {"0", "3", 1},
                                 {"0", "0xF3", -1},
                                 {"0", "0xF4", -1},
                                 {"0", "0xF2", -2},
                                 {"0", "0xF5", -2},
                                 {"2", "3", 1},
                                 {"255", "1", 0}}) {
        tv_.behave(kFast + ("state " + report.state + "\nresult " + report.result + "\n"));
        EXPECT_EQ(upload(ParamType::HRTF, "x"), report.code) << report.state << " " << report.result;
        tv_.setState(UploadKind::Hrtf, "\0\0"s);
    }
}

TEST_F(Transfers, CancelStopsTransfer) {
    tv_.behave("hang\n");
    const int32_t handle = fill(ParamType::HRTF, "");
    EXPECT_EQ(service_->apply(handle, callback_), 0);
    loggedUntil(kTransferring);
    EXPECT_EQ(contentOf(tv_ / "power/wake_lock"), "HidlAudioHrtf\n");
    EXPECT_EQ(service_->cancel(handle), 0);
    EXPECT_EQ(callback_->await(), 1);
    loggedUntil(kFinished);
    EXPECT_EQ(contentOf(tv_ / "power/wake_lock"), "");
    EXPECT_EQ(service_->cancel(handle), -1);
    EXPECT_EQ(callback_->getStrongCount(), 1);
}

TEST_F(Transfers, RefusedApplyCanBeRepeated) {
    int32_t handle = service_->allocateParameterBuffer(ParamType::DEVICE, 2);
    EXPECT_EQ(append(handle, "x"), 0);
    const auto refused = [&](int32_t result, const sp<Callback>& callback) {
        EXPECT_EQ(service_->apply(handle, callback), result);
        EXPECT_EQ(service_->cancel(handle), -4);
    };
    refused(-2, callback_);
    EXPECT_EQ(append(handle, "y"), 0);
    for (const UploadKind kind : host::kUploadKinds) {
        for (const char* state : {"\1\0", "\2\3", "\xFF\0"}) {
            tv_.setState(kind, std::string(state, 2));
            refused(-3, callback_);
        }
        tv_.setState(kind, "\1");
        refused(-5, callback_);
        tv_.setState(kind, "\0\0"s);
    }
    refused(-5, nullptr);
    {
        const ScopedFault fault({"pthread_create", 1, EAGAIN});
        refused(-5, callback_);
    }
    EXPECT_EQ(callback_->getStrongCount(), 2) << "the slot still holds the callback";
    EXPECT_EQ(service_->apply(handle, callback_), 0);
    EXPECT_EQ(callback_->await(), 0);
    loggedUntil(kFinished);
    EXPECT_EQ(tv_.received(UploadKind::Device), "xy");
    EXPECT_EQ(service_->apply(handle, callback_), -1);
    EXPECT_EQ(callback_->results().size(), 1U);
}

TEST_F(Transfers, BothKindsRunOneAfterTheOther) {
    host::setClockSpeed(50);
    for (int i = 0; i < 20; ++i) {
        const bool deviceFirst = i % 2 == 0;
        const auto first = deviceFirst ? ParamType::DEVICE : ParamType::HRTF;
        const auto second = deviceFirst ? ParamType::HRTF : ParamType::DEVICE;
        const sp<Callback> callbacks[] = {new Callback, new Callback};
        const int32_t handles[] = {fill(first, "1"), fill(second, "2")};
        EXPECT_EQ(service_->apply(handles[0], callbacks[0]), 0);
        EXPECT_EQ(service_->apply(handles[1], callbacks[1]), 0);
        EXPECT_EQ(callbacks[1]->await(), 0);
        EXPECT_EQ(callbacks[0]->results(), std::vector<int32_t>{0}) << "the first transfer has ended before";
        loggedUntil(kFinished, 2);
    }
}

TEST_F(Transfers, CancelEndsWaitForOtherKind) {
    blockDevice();
    SteppedClock clock(SteppedClock::Sleeps::Wait);
    const auto startAndCancel = [&](const sp<Callback>& callback) {
        const int32_t handle = fill(ParamType::HRTF, "");
        EXPECT_EQ(service_->apply(handle, callback), 0);
        clock.awaitPending(1);
        EXPECT_EQ(append(handle, ""), -3);
        EXPECT_EQ(service_->cancel(handle), 0);
        EXPECT_TRUE(callback->results().empty());
    };
    startAndCancel(callback_);
    clock.advance(500ms);
    EXPECT_EQ(callback_->await(), 1);
    loggedUntil(kFinished);

    // If the other kind has ended before the next check, the cancel has no effect.
    const sp<Callback> late = new Callback;
    startAndCancel(late);
    other_->hold(false);
    loggedUntil(kFinished);
    clock.advance(500ms);
    EXPECT_EQ(late->await(), 0);
    loggedUntil(kFinished);
}

TEST_F(Transfers, TransferTimesOutAfter20Seconds) {
    tv_.behave("hang\n");
    SteppedClock clock(SteppedClock::Sleeps::Wait);
    EXPECT_EQ(service_->apply(fill(ParamType::DEVICE, ""), callback_), 0);
    loggedUntil(kTransferring);
    clock.advance(20s - 1ns);
    EXPECT_TRUE(callback_->results().empty());
    clock.advance(1ns);
    EXPECT_EQ(callback_->await(), -2);
    loggedUntil(kFinished);
    EXPECT_EQ(service_->apply(fill(ParamType::DEVICE, ""), callback_), -3) << "the controller is busy";
    EXPECT_EQ(headphone_virtualizer::notifyCancelToBeCtrl(
                  headphone_virtualizer::BECTRL_IOC_CANCEL_DEVICE_PARAMETER),
              0);
}

TEST_F(Transfers, DataIsKeptUntilLateTransferEnds) {
    tv_.behave("rate 1\n");
    SteppedClock clock(SteppedClock::Sleeps::Wait);
    const std::string bytes = "thirty bytes are thirty bytes.";
    EXPECT_EQ(service_->apply(fill(ParamType::DEVICE, bytes), callback_), 0);
    loggedUntil(kTransferring);
    clock.advance(20s);
    EXPECT_EQ(callback_->await(), -2);
    loggedUntil(kFinished);
    // If the memory was freed too early, this allocation would reuse it.
    const int32_t next = fill(ParamType::DEVICE, std::string(bytes.size(), '-'));
    EXPECT_EQ(service_->apply(next, callback_), -3);
    clock.advance(10s);
    while (tv_.received(UploadKind::Device) == "(none)") std::this_thread::yield();
    EXPECT_EQ(tv_.received(UploadKind::Device), bytes);
    tv_.behave(kFast);
    while (service_->apply(next, other_) != 0) std::this_thread::yield();
    loggedUntil(kTransferring);
    clock.advance(1s);
    EXPECT_EQ(other_->await(), 0);
    loggedUntil(kFinished);
}

TEST_F(Transfers, DiscardOrNewBufferCancelsTransfer) {
    host::setClockSpeed(50);
    tv_.behave("hang\n");
    int32_t next = 0;
    const auto cutOff = [&](const auto& end) {
        const sp<Callback> callback = new Callback;
        const int32_t handle = fill(ParamType::DEVICE, "abc");
        EXPECT_EQ(service_->apply(handle, callback), 0);
        loggedUntil(kTransferring);
        end(handle);
        EXPECT_EQ(callback->results(), std::vector<int32_t>{1});
        EXPECT_EQ(append(handle, ""), -1);
    };
    cutOff([&](int32_t handle) { EXPECT_EQ(service_->discardParameterBuffer(handle), 0); });
    cutOff([&](int32_t) { next = service_->allocateParameterBuffer(ParamType::DEVICE, 1); });
    EXPECT_EQ(append(next, "x"), 0);
}

TEST_F(Transfers, LateTransferDoesNotTouchNewBuffer) {
    // The old transfer is late in its callback, or (waiting) in its wait for the other kind.
    for (const bool waiting : {false, true}) {
        SCOPED_TRACE(waiting);
        const sp<Callback> late = new Callback;
        std::promise<void> goOn;
        std::promise<void> asleep;
        auto clock = std::make_unique<SteppedClock>();
        const auto service = std::this_thread::get_id();
        if (waiting) {
            blockDevice();
            clock->onSleep([&, gate = goOn.get_future().share(),
                            first = std::make_shared<std::atomic<bool>>(true)](size_t) {
                if (std::this_thread::get_id() == service) return;
                if (first->exchange(false)) asleep.set_value();
                gate.wait();
            });
        }
        late->hold(!waiting);
        const int32_t old = fill(ParamType::HRTF, "");
        EXPECT_EQ(service_->apply(old, late), 0);
        if (waiting) {
            asleep.get_future().wait();
        } else {
            EXPECT_EQ(late->await(), 0);
        }
        const int32_t handle = fill(ParamType::HRTF, "");
        EXPECT_EQ(append(old, ""), -1);
        goOn.set_value();
        late->hold(false);
        EXPECT_EQ(late->await(), waiting ? 1 : 0);
        loggedUntil(kFinished);
        EXPECT_EQ(append(handle, ""), 0);
        other_->hold(false);
        if (waiting) loggedUntil(kFinished);
        callback_ = new Callback;
        EXPECT_EQ(service_->apply(handle, callback_), 0);
        EXPECT_EQ(callback_->await(), 0);
        loggedUntil(kFinished);
        EXPECT_EQ(late->results().size(), 1U);
    }
}

// On the TV, a call from inside a callback is served on the thread that made the callback.
TEST_F(Transfers, ClientCanMakeCallsInsideCallback) {
    const auto begin = std::chrono::steady_clock::now();
    const auto during = [&](const auto& action) {
        const sp<Callback> callback = new Callback;
        const int32_t handle = fill(ParamType::DEVICE, "old");
        callback->doInside([&](int32_t) { action(handle); });
        EXPECT_EQ(service_->apply(handle, callback), 0);
        EXPECT_EQ(callback->await(), 0);
    };
    const auto applyNext = [&](const std::string& bytes, const sp<Callback>& callback) {
        const int32_t next = fill(ParamType::DEVICE, bytes);
        EXPECT_GT(next, 0);
        EXPECT_EQ(service_->apply(next, callback), 0);
        return next;
    };
    during([&](int32_t handle) { EXPECT_EQ(service_->discardParameterBuffer(handle), 0); });
    loggedUntil(kFinished);
    during([&](int32_t handle) {
        EXPECT_EQ(append(handle, ""), -1);
        EXPECT_EQ(service_->apply(handle, callback_), -1);
        EXPECT_EQ(service_->cancel(handle), -1);
    });
    loggedUntil(kFinished);
    // The next upload of the same kind starts after the callback has returned.
    during([&](int32_t) {
        applyNext("new", callback_);
        EXPECT_TRUE(callback_->results().empty());
    });
    EXPECT_EQ(callback_->await(), 0);
    loggedUntil(kFinished, 2);
    EXPECT_EQ(tv_.received(UploadKind::Device), "new");
    // Uploads that are cancelled, discarded or replaced before they start, and one that follows.
    const sp<Callback> cancelled = new Callback;
    const sp<Callback> discarded = new Callback;
    const sp<Callback> replaced = new Callback;
    during([&](int32_t) {
        EXPECT_EQ(service_->cancel(applyNext("x", cancelled)), 0);
        EXPECT_EQ(service_->discardParameterBuffer(applyNext("y", discarded)), 0);
        applyNext("z", replaced);
        applyNext("last", other_);
    });
    EXPECT_EQ(other_->await(), 0);
    for (const auto& callback : {cancelled, discarded, replaced})
        EXPECT_EQ(callback->results(), std::vector{1});
    EXPECT_EQ(tv_.received(UploadKind::Device), "last");
    loggedUntil(kFinished, 5);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 19s) << "a call has waited for its own thread";
    EXPECT_EQ(contentOf(tv_ / "power/wake_lock"), "");
}

TEST_F(Transfers, OtherKindCanBeAppliedInsideCallback) {
    callback_->doInside([&](int32_t) {
        EXPECT_EQ(service_->apply(fill(ParamType::HRTF, "hrtf"), other_), 0);
        EXPECT_EQ(other_->await(), 0) << "the callback of the first kind is still running";
    });
    EXPECT_EQ(service_->apply(fill(ParamType::DEVICE, "device"), callback_), 0);
    EXPECT_EQ(callback_->await(), 0);
    EXPECT_EQ(tv_.received(UploadKind::Hrtf), "hrtf");
    loggedUntil(kFinished, 2);
}

TEST_F(Transfers, ApplyAtEndDoesNotRepeatTransfer) {
    for (int i = 0; i < 100; ++i) {
        const sp<Callback> callback = new Callback;
        const int32_t handle = fill(ParamType::DEVICE, "bytes");
        EXPECT_EQ(service_->apply(handle, callback), 0);
        int32_t again = 0;
        do {
            again = i % 2 == 0 ? int32_t{service_->apply(handle, callback)} : append(handle, "x");
        } while (again == -3);
        ASSERT_EQ(again, -1) << i;
        EXPECT_EQ(callback->results().size(), 1U);
        ASSERT_EQ(tv_.received(UploadKind::Device), "bytes");
    }
}

TEST_F(Transfers, TransferSurvivesDeathOfClient) {
    callback_->die();
    EXPECT_EQ(service_->apply(fill(ParamType::DEVICE, "x"), callback_), 0);
    EXPECT_EQ(callback_->await(), 0);
    loggedUntil(kFinished);
    EXPECT_EQ(upload(ParamType::DEVICE, "y"), 0);
}

TEST_F(Transfers, FailingCallsEndTransfer) {
    const auto openFiles = [] { return entries("/proc/self/fd"); };
    EXPECT_EQ(upload(ParamType::DEVICE, ""), 0);
    const auto before = openFiles();
    for (const auto& [call, nth, result] : {std::tuple("epoll_create1", 1U, -3),
                                            {"fopen", 3U, -3},
                                            {"epoll_ctl", 1U, -3},
                                            {"timerfd_create", 1U, -3},
                                            {"epoll_ctl", 2U, -3},
                                            {"timerfd_settime", 1U, -3},
                                            {"open", 1U, -2},
                                            {"ioctl", 1U, -2},
                                            {"fread", 3U, -3},
                                            {"epoll_wait", 1U, 0},
                                            {"close", 1U, 0},
                                            {"fclose", 3U, 0}}) {
        SCOPED_TRACE(call + std::to_string(nth));
        const ScopedFault fault({call, nth, EIO});
        EXPECT_EQ(upload(ParamType::DEVICE, ""), result);
        EXPECT_TRUE(fault.injected());
        // After a failed read of the state, the controller still finishes the transfer.
        while (contentOf(tv_.stateFile(UploadKind::Device)) != "\0\1"s && call == "fread"s) {
            std::this_thread::yield();
        }
    }
    EXPECT_EQ(openFiles(), before);
    EXPECT_EQ(upload(ParamType::DEVICE, "x"), 0);
}

TEST_F(Transfers, NoThreadRemainsAfterTransfers) {
    EXPECT_EQ(upload(ParamType::HRTF, ""), 0);
    for (int i = 0; i < 50; ++i) ASSERT_EQ(upload(ParamType::HRTF, ""), 0);
    const auto deadline = std::chrono::steady_clock::now() + 30s;
    while (entries("/proc/self/task") > 2 && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::yield();
    }
    EXPECT_LE(entries("/proc/self/task"), 2);
}

}  // namespace
}  // namespace hidlaudio::test
