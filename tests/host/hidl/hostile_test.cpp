// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <sys/resource.h>
#include <time.h>

#include <chrono>
#include <random>

#include "offer.h"
#include "raw_peer.h"

namespace hidlaudio::test {
namespace {

TEST_F(HostileTest, SilentAndNonReadingPeersDoNotBlockOtherClients) {
    RawPeer silent;
    RawPeer helloOnly;
    helloOnly.hello();
    RawClient announcing;
    EXPECT_TRUE(sendRaw(announcing.channel, rawMessage(kDescriptorsFollow)));
    EXPECT_EQ(probe_->add(1, 2), 3);
    {
        // The peer reads no replies, so its socket fills up and the service closes the connection.
        RawClient deaf;
        const Write text = sequence(20'000, std::string(20'000, 't') + std::string(1, '\0'));
        const RawMessage call = rawCall(deaf.object(), kEchoText, text);
        EXPECT_TRUE(becomesTrue([&] { return !sendRaw(deaf.channel, call) && errno == EPIPE; }));
    }
    {
        // More channels than a process may open.
        RawPeer greedy;
        greedy.hello();
        for (int i = 0; i < 257 && greedy.offerChannel(); ++i) continue;
        EXPECT_TRUE(closes(greedy.control()));
    }
    {
        // The peer sends several calls without waiting and closes the connection at once.
        RawClient hasty;
        for (int i = 0; i < 10; ++i) EXPECT_TRUE(sendRaw(hasty.channel, rawCall(hasty.object(), kMark)));
    }
    expectUnharmed(7);
}

// The peer makes each call from the callback of the previous one.
TEST_F(HostileTest, TooDeeplyNestedCallFails) {
    RawClient peer;
    EXPECT_TRUE(sendRaw(peer.channel, rawSetCallback(peer.object())));
    EXPECT_EQ(statusOfReply(peer.channel), android::OK);
    const RawMessage call = rawCall(peer.object(), kCallBack, [](Parcel& parcel) { parcel.writeInt32(1); });
    std::optional<RawMessage> got;
    int depth = -1;
    do {
        EXPECT_TRUE(sendRaw(peer.channel, call));
        got = receiveRaw(peer.channel);
    } while (++depth < 1000 && got && got->header.type == kCall);
    ASSERT_TRUE(got && got->header.type == kReply);
    EXPECT_EQ(static_cast<status_t>(got->header.code), android::FAILED_TRANSACTION);
    EXPECT_GE(depth, 10);
}

// The peer sends objects by the thousand and does not read the releases.
TEST_F(HostileTest, TooManyPendingReleasesCloseConnection) {
    constexpr uint64_t kFarTooMany = 1'000'000;
    {
        RawClient peer;
        uint64_t object = 1;
        do {
            RawMessage call = rawCall(peer.object(), kMark);
            for (size_t i = 0; i < kMaxObjects; ++i) addReference(&call, object++, kSendersObject);
            sendRaw(peer.channel, call);
        } while (object < kFarTooMany && receiveRaw(peer.channel));
        EXPECT_LT(object, kFarTooMany);
    }
    expectUnharmed();
}

// No call has a bool argument: a byte other than 0 and 1 in its place would be undefined behavior of the
// callee.
TEST_F(HostileTest, RandomlyDamagedMessagesDoNotAffectOtherClients) {
    const uint32_t seed = std::random_device()();
    SCOPED_TRACE(seed);
    std::minstd_rand random(seed);
    const unique_fd null(open("/dev/null", O_RDWR | O_CLOEXEC));
    const Write text = sequence(8, std::string("12345678\0", 9));
    const Write object = [](Parcel& parcel) { parcel.writeUint32(0); };
    const struct {
        ProbeMethod method;
        Write write;
    } kCalls[] = {{kEchoText, text},
                  {kEchoBytes, text},
                  {kEchoTexts, text},
                  {kReadFiles, text},
                  {kSetCallback, object}};
    for (int round = 0; round < 300; ++round) {
        RawClient peer;
        const auto& good = kCalls[random() % std::size(kCalls)];
        RawMessage call = rawCall(peer.object(), good.method, good.write);
        if (good.method == kSetCallback) addReference(&call, 1, kSendersObject);
        for (uint32_t i = random() % 4 + 1; i > 0; --i) {
            const size_t place = random() % (kHeaderSize + call.body.size());
            // Leave the method number alone: another method would be a valid call.
            if (place >= offsetof(MessageHeader, code) && place < offsetof(MessageHeader, fdCount)) continue;
            uint8_t* header = reinterpret_cast<uint8_t*>(&call.header);
            uint8_t& byte = place < kHeaderSize ? header[place] : call.body[place - kHeaderSize];
            byte = static_cast<uint8_t>(random() % 3 == 0 ? byte ^ (1U << random() % 8) : random());
        }
        if (random() % 4 == 0) call.body.resize(random() % (call.body.size() + 1));
        if (random() % 4 == 0) call.fds.push_back(null.get());
        if (random() % 2 == 0) sendRaw(peer.channel, rawMessage(kDescriptorsFollow));
        sendRaw(random() % 4 == 0 ? peer.control() : peer.channel, call);
        EXPECT_EQ(probe_->add(1, 2), 3);
    }
    expectUnharmed();
}

TEST_F(HostileTest, TooManyConnectionsOfAProcessAreRefusedButNotThoseOfOthers) {
    {
        std::vector<RawPeer> peers(63);  // the client `probe_` has the 64th
        EXPECT_TRUE(closes(RawPeer().control()));
        peers[3].hello();
        int last = -1;
        for (int i = 0; i < 150; ++i) last = peers[3].openChannel();
        EXPECT_TRUE(sendRaw(last, rawCall(peers[3].object(), kMark)));
        EXPECT_EQ(positionOfReply(last), 0u);
        // Together with those and the client's, one channel more than a process may open.
        peers[7].hello();
        for (int i = 0; i < 106; ++i) peers[7].openChannel();
        EXPECT_TRUE(closes(peers[7].control()));
        Helper other({"fetch"});
        EXPECT_EQ(other.readLine(), "");
        EXPECT_EQ(other.wait(), 0);
    }
    expectUnharmed();
}

TEST_F(HostileTest, ServiceWithoutDescriptorsRefusesConnectionsAndRecovers) {
    constexpr size_t kLimit = 48;
    Service service({1, "small", kLimit});
    const sp<IProbe> probe = service.get();
    EXPECT_EQ(probe->add(1, 2), 3);
    {
        std::vector<RawPeer> peers;
        for (size_t i = 0; i < kLimit; ++i) peers.emplace_back("small");
        EXPECT_TRUE(closes(peers.back().control()));
        EXPECT_EQ(probe->add(1, 2), 3);
        EXPECT_TRUE(fallsAsleep(service.pid()));
    }
    RawClient next("small");
    EXPECT_TRUE(sendRaw(next.channel, rawCall(next.object(), kMark)));
    EXPECT_EQ(positionOfReply(next.channel), 0u);
}

// The service cannot even use the descriptor that it reserves for refusals.
TEST_F(HostileTest, ServiceThatCannotRefuseConnectionsDoesNotSpin) {
    const auto processorTime = [this] {
        clockid_t clock{};
        timespec used{};
        clock_getcpuclockid(service_.pid(), &clock);
        clock_gettime(clock, &used);
        return std::chrono::seconds(used.tv_sec) + std::chrono::nanoseconds(used.tv_nsec);
    };
    rlimit before{};
    ASSERT_EQ(prlimit(service_.pid(), RLIMIT_NOFILE, nullptr, &before), 0);
    const rlimit none{3, before.rlim_max};
    ASSERT_EQ(prlimit(service_.pid(), RLIMIT_NOFILE, &none, nullptr), 0);
    RawClient waiting;
    const auto start = processorTime();
    usleep(300'000);
    EXPECT_LT(processorTime() - start, std::chrono::milliseconds(100));
    ASSERT_EQ(prlimit(service_.pid(), RLIMIT_NOFILE, &before, nullptr), 0);
    EXPECT_TRUE(sendRaw(waiting.channel, rawCall(waiting.object(), kMark)));
    EXPECT_EQ(positionOfReply(waiting.channel), 0u);
}

TEST_F(HostileTest, DescriptorsFromAnEndedProcessAreClosed) {
    for (const std::string& name : offerNames()) {
        SCOPED_TRACE(name);
        for (int i = 0; i < 3; ++i) EXPECT_EQ(Helper({"offer", name}).wait(), 0);
        expectUnharmed();
        EXPECT_EQ(errorOf(probe_->setCallback(nullptr)), "");
    }
}

using KilledClientsTest = HidlTest;

// The clients are killed while they connect, call, are called back, or in between.
TEST_F(KilledClientsTest, LeakNoDescriptorsThreadsOrMemory) {
    const uint32_t seed = std::random_device()();
    RecordProperty("seed", std::to_string(seed));
    SCOPED_TRACE(seed);
    const struct {
        size_t threads;
        int clients;
    } kPools[] = {{1, 1000}, {3, 200}};
    for (const auto& pool : kPools) {
        SCOPED_TRACE(pool.threads);
        Service service({pool.threads});
        const sp<IProbe> probe = service.get();
        makeBusy(probe);
        const size_t descriptors = service.descriptors();
        const size_t threads = service.threads();
        const auto kill = [&](int clients) {
            Helper churn({"churn", std::to_string(clients), std::to_string(seed)});
            EXPECT_EQ(churn.wait(), 0);
            EXPECT_EQ(probe->add(1, 2), 3);
            EXPECT_TRUE(becomesTrue([&] { return service.descriptors() == descriptors; }))
                << service.descriptors() << " descriptors, not " << descriptors;
            EXPECT_EQ(errorOf(probe->setCallback(nullptr)), "");
        };
        // Warm-up: lets the heap and the event log of the service reach their final size.
        kill(pool.clients / 5);
        const uint64_t heap = probe->heapInUse();
        kill(pool.clients);
        // Each further thread may have filled its cache of packet buffers in the meantime.
        EXPECT_LT(probe->heapInUse(), heap + 64 * 1024 + (pool.threads - 1) * 128 * 1024);
        EXPECT_LE(service.threads(), threads + pool.threads - 1);
    }
}

}  // namespace
}  // namespace hidlaudio::test
