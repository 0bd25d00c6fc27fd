// SPDX-License-Identifier: Apache-2.0
#include <hwbinder/ProcessState.h>

#include <algorithm>
#include <atomic>
#include <future>
#include <random>
#include <set>
#include <thread>

#include "raw_peer.h"

namespace hidlaudio::test {
namespace {

using android::hardware::configureRpcThreadpool;
using android::hardware::joinRpcThreadpool;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;

class ThreadsTest : public HidlTest {
  protected:
    static int32_t servingThread(const sp<ParentProbe>& probe) {
        int32_t serving = 0;
        const auto keep = [&serving](int32_t caller, int32_t thread) {
            EXPECT_EQ(caller, getpid());
            serving = thread;
        };
        EXPECT_EQ(errorOf(probe->whoServes(keep)), "");
        return serving;
    }

    /** Starts a call that lasts until the gate opens. Returns when the service has entered the method. */
    static std::future<std::string> waitAt(const sp<ParentProbe>& probe, int32_t number, Gate* gate) {
        auto done =
            std::async(std::launch::async, [=] { return errorOf(probe->wait(number, gate->handle())); });
        gate->awaitEntry();
        return done;
    }
};

TEST_F(ThreadsTest, OnlyALargerPoolServesBeforeTheCallerJoins) {
    Service larger({3, "larger", 0, false});
    EXPECT_NE(servingThread(larger.get()), larger.pid());
    Service service({1, "default", 0, false});
    // The look-up calls the service, so it waits as well.
    auto found = std::async(std::launch::async, [&service] { return service.get(); });
    EXPECT_EQ(found.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    service.letGo();
    const sp<IProbe> probe = found.get();
    EXPECT_EQ(errorOf(probe->note(1, nullptr)), "");
    EXPECT_TRUE(logged(probe, "note 1"));
    EXPECT_THAT(eventsOf(probe), ElementsAre("joined", "note 1"));
    EXPECT_EQ(servingThread(probe), service.pid());
}

TEST_F(ThreadsTest, PoolServesAsManyCallsAtOnceAsItHasThreads) {
    for (const size_t size : {1u, 3u}) {
        SCOPED_TRACE(size);
        Service service({size});
        const sp<IProbe> probe = service.get();
        std::vector<Gate> gates(size + 1);
        std::vector<std::future<std::string>> calls;
        for (size_t i = 0; i < size; ++i) calls.push_back(waitAt(probe, static_cast<int32_t>(i), &gates[i]));
        auto oneMore = std::async(std::launch::async, [&] { return waitAt(probe, 9, &gates[size]).get(); });
        EXPECT_LE(service.threads(), size + 1);  // a sanitizer may have one of its own
        for (auto gate = gates.rbegin(); gate != gates.rend(); ++gate) gate->open();
        for (auto& call : calls) EXPECT_EQ(call.get(), "");
        EXPECT_EQ(oneMore.get(), "");
        const std::vector<std::string> events = eventsOf(probe);
        const auto isLeave = [](const std::string& event) { return event.find("leave") == 0; };
        const auto firstLeft = std::find_if(events.begin(), events.end(), isLeave);
        EXPECT_NE(std::find(firstLeft, events.end(), "enter 9"), events.end());
        EXPECT_LE(service.threads(), size + 1);
    }
}

TEST_F(ThreadsTest, MisuseOfThePoolAbortsTheProcess) {
    const auto start = [] { android::hardware::ProcessState::self()->startThreadPool(); };
    EXPECT_DEATH(joinRpcThreadpool(), "configureRpcThreadpool");
    EXPECT_DEATH(configureRpcThreadpool(0, true), "pool");
    EXPECT_DEATH((configureRpcThreadpool(1, false), joinRpcThreadpool()), "configureRpcThreadpool");
    EXPECT_DEATH((configureRpcThreadpool(2, true), start(), configureRpcThreadpool(1, true)), "shrunk");
    // Allowed: no fewer threads than configured before, although one thread is running.
    EXPECT_EXIT((start(), configureRpcThreadpool(0, false), configureRpcThreadpool(2, false), _exit(0)),
                testing::ExitedWithCode(0), "");
}

TEST_F(ThreadsTest, CallbackFromTheServingThreadRunsOnTheWaitingThread) {
    Service service;
    const sp<IProbe> probe = service.get();
    std::vector<int32_t> threadsHere;
    std::vector<int32_t> threadsThere;
    int32_t sum = 0;
    const auto add = [&sum](int32_t answer, int32_t) { sum += answer; };
    sp<Callback> callback = new Callback();
    callback->event = [&](int32_t depth) {
        threadsHere.push_back(threadNumber());
        threadsThere.push_back(servingThread(probe));
        EXPECT_EQ(depth > 1 ? errorOf(probe->callBack(depth - 1, add)) : "", "");
        return depth;
    };
    EXPECT_EQ(errorOf(probe->setCallback(callback)), "");
    EXPECT_EQ(errorOf(probe->callBack(5, add)), "");
    EXPECT_EQ(sum, 1 + 2 + 3 + 4 + 5);
    EXPECT_EQ(threadsHere.size(), 5u);
    EXPECT_THAT(threadsHere, Each(threadNumber()));
    EXPECT_THAT(threadsThere, Each(service.pid()));
}

// Meanwhile, the caller's thread and the service's only pool thread are busy with another call.
TEST_F(ThreadsTest, CallbackFromAnotherThreadRunsInTheClientsPool) {
    Service service;
    const sp<IProbe> probe = service.get();
    Gate callbackMayStart;
    Gate callIsServed;
    std::promise<void> called;
    const int32_t main = threadNumber();
    sp<Callback> callback = new Callback();
    callback->event = [&](int32_t serversThread) {
        EXPECT_NE(threadNumber(), main);
        // A nested call goes to the thread that waits, although that is not a pool thread.
        EXPECT_EQ(servingThread(probe), serversThread);
        EXPECT_NE(serversThread, service.pid());
        callIsServed.open();
        called.set_value();
        return 0;
    };
    EXPECT_EQ(errorOf(probe->setCallback(callback)), "");
    EXPECT_EQ(errorOf(probe->callBackFromThread(callbackMayStart.handle())), "");
    callbackMayStart.awaitEntry();
    auto opened = std::async(std::launch::async, [&] {
        callIsServed.awaitEntry();
        callbackMayStart.open();
    });
    EXPECT_EQ(errorOf(probe->wait(1, callIsServed.handle())), "");
    EXPECT_TRUE(logged(probe, "answer 0"));
    called.get_future().get();
}

TEST_F(ThreadsTest, UnconfiguredPoolServesOnOneThread) {
    Service service;
    const sp<IProbe> probe = service.get();
    std::atomic<int> active{0};
    std::atomic<int> done{0};
    std::set<int32_t> threadsHere;
    sp<Callback> callback = new Callback();
    callback->event = [&](int32_t) {
        EXPECT_EQ(++active, 1);
        threadsHere.insert(threadNumber());
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        EXPECT_EQ(--active, 0);
        return ++done;
    };
    EXPECT_EQ(errorOf(probe->setCallback(callback)), "");
    for (int i = 0; i < 4; ++i) EXPECT_EQ(errorOf(probe->callBackFromThread(nullptr)), "");
    EXPECT_TRUE(becomesTrue([&] { return done == 4; }));
    EXPECT_EQ(threadsHere.size(), 1u);
    EXPECT_EQ(threadsHere.count(threadNumber()), 0u);
}

TEST_F(ThreadsTest, OnewayCallsOfAnObjectAreServedInOrderByALargerPool) {
    Service service({3});
    const sp<IProbe> probe = service.get();
    ASSERT_EQ(probe->registerAnother("second", 2), android::OK);
    const sp<IProbe> second = IProbe::getService("second");
    Gate first;
    Gate next;
    EXPECT_EQ(errorOf(probe->note(1, first.handle())), "");
    first.awaitEntry();
    EXPECT_EQ(errorOf(probe->note(2, next.handle())), "");
    EXPECT_EQ(errorOf(probe->note(3, nullptr)), "");
    next.open();
    // Two-way calls, and oneway calls of another object, overtake them.
    EXPECT_EQ(errorOf(second->note(4, nullptr)), "");
    EXPECT_TRUE(logged(second, "note 4"));
    for (int i = 0; i < 100; ++i) EXPECT_EQ(probe->add(i, 1), i + 1);
    first.open();
    EXPECT_TRUE(logged(probe, "note 3"));
    EXPECT_THAT(eventsOf(probe), ElementsAre("joined", "note 1", "note 2", "note 3"));
}

TEST_F(ThreadsTest, TooManyQueuedOnewayCallsFail) {
    constexpr int kFarTooMany = 10'000;
    for (const size_t size : {1u, 3u}) {
        SCOPED_TRACE(size);
        Service service({size});
        const sp<IProbe> probe = service.get();
        Gate gate;
        EXPECT_EQ(errorOf(probe->note(0, gate.handle())), "");
        gate.awaitEntry();
        int sent = 0;
        int refused = 0;  // consecutive failures: the service may be about to make room
        while (sent < kFarTooMany && refused < 10) {
            const std::string error = errorOf(probe->note(sent + 1, nullptr));
            refused = error.empty() ? 0 : refused + 1;
            sent += error.empty() ? 1 : 0;
            if (refused == 0) continue;
            EXPECT_THAT(error, HasSubstr("FAILED_TRANSACTION"));
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        EXPECT_LT(sent, kFarTooMany);
        EXPECT_GE(sent, 100);
        gate.open();
        EXPECT_TRUE(logged(probe, "note " + std::to_string(sent)));
        EXPECT_EQ(errorOf(probe->note(-1, nullptr)), "");
        EXPECT_TRUE(logged(probe, "note -1"));
    }
}

TEST_F(ThreadsTest, ConcurrentCallsOfOneClientGetTheirOwnResults) {
    Service service({3});
    const sp<IProbe> probe = service.get();
    const auto call = [&probe](int thread) {
        for (int i = 0; i < 200; ++i) {
            EXPECT_EQ(probe->add(thread, i), thread + i);
            const std::string sent(static_cast<size_t>(thread * 1000 + i), static_cast<char>('a' + thread));
            EXPECT_EQ(errorOf(probe->echoText(sent, [&](const auto& same) { EXPECT_EQ(same, sent); })), "");
        }
    };
    std::vector<std::future<void>> threads(8);
    for (int i = 0; i < 8; ++i) threads[static_cast<size_t>(i)] = std::async(std::launch::async, call, i);
}

// A service admits 256 channels of a process.
TEST_F(ThreadsTest, MoreThreadsThanChannelsCanCall) {
    constexpr int32_t kThreads = 600;
    // With stacks of the usual 8 MiB, a 32-bit process is full before.
    pthread_attr_t usual;
    ASSERT_EQ(pthread_getattr_default_np(&usual), 0);
    pthread_attr_t small = usual;
    ASSERT_EQ(pthread_attr_setstacksize(&small, 512 << 10), 0);
    ASSERT_EQ(pthread_setattr_default_np(&small), 0);
    Service service;
    const sp<IProbe> probe = service.get();
    sp<Callback> callback = new Callback();
    callback->event = [&](int32_t value) { return probe->add(value, 100).withDefault(-1); };
    EXPECT_EQ(errorOf(probe->setCallback(callback)), "");
    std::promise<void> all;
    const std::shared_future<void> allHaveCalled = all.get_future().share();
    std::atomic<int32_t> called{0};
    const auto call = [&](int32_t number) {
        EXPECT_EQ(probe->add(number, 1), number + 1);
        if (++called == kThreads) all.set_value();
        allHaveCalled.wait();
        const auto answered = [&](int32_t answer, int32_t) { EXPECT_EQ(answer, number + 100); };
        EXPECT_EQ(errorOf(probe->callBack(number, answered)), "");
    };
    std::vector<std::thread> threads;
    for (int32_t i = 0; i < kThreads; ++i) threads.emplace_back(call, i);
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(pthread_setattr_default_np(&usual), 0);
}

struct Client : RawClient {
    // The first call makes sure that the service has set up the connection and the channel.
    Client() {
        EXPECT_TRUE(sendRaw(channel, rawCall(object(), UINT32_MAX)));
        EXPECT_EQ(statusOfReply(channel), android::UNKNOWN_TRANSACTION);
    }
    void send() { EXPECT_TRUE(sendRaw(channel, rawCall(object(), kMark))); }
};

// A message is in the service's queue as soon as it is sent, so calls arrive in the order in which they
// are sent.
TEST_F(ThreadsTest, CallsOfAllClientsAreServedInOrderOfArrival) {
    constexpr uint32_t kRounds = 4;
    Service service;
    const sp<IProbe> probe = service.get();
    Gate gate;
    uint32_t expected = 0;
    for (const size_t count : {2u, 5u, 50u}) {
        SCOPED_TRACE(count);
        std::vector<Client> clients(count);
        std::vector<Client*> order(count);
        for (size_t i = 0; i < count; ++i) order[i] = &clients[i];
        std::shuffle(order.begin(), order.end(), std::minstd_rand(count));
        auto busy = waitAt(probe, 0, &gate);
        for (Client* client : order) client->send();
        gate.open();
        for (uint32_t i = 0; i < kRounds * count; ++i) {
            Client* client = order[i % count];
            ASSERT_EQ(positionOfReply(client->channel), expected++);
            if (i + count < kRounds * count) client->send();
        }
        EXPECT_EQ(busy.get(), "");
    }
}

// The client gets its reply before the method returns, and calls again.
TEST_F(ThreadsTest, ClientAnsweredEarlyIsServedAfterWaitingClients) {
    Service service;
    const sp<IProbe> probe = service.get();
    Gate before;
    Gate gate;
    Client early;
    Client other;
    // Sent while the service is busy, so that it finds the announcement and the call together.
    auto busy = waitAt(probe, 0, &before);
    const RawMessage call = rawCall(early.object(), kAnswerThenWait,
                                    [&gate](auto& parcel) { parcel.writeNativeHandleNoDup(gate.handle()); });
    EXPECT_TRUE(sendRaw(early.channel, rawMessage(kDescriptorsFollow)));
    EXPECT_TRUE(sendRaw(early.channel, call));
    before.open();
    EXPECT_EQ(busy.get(), "");
    EXPECT_EQ(statusOfReply(early.channel), android::OK);
    gate.awaitEntry();
    other.send();
    early.send();
    gate.open();
    EXPECT_EQ(positionOfReply(other.channel), 0u);
    EXPECT_EQ(positionOfReply(early.channel), 1u);
}

}  // namespace
}  // namespace hidlaudio::test
