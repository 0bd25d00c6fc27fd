// SPDX-License-Identifier: Apache-2.0
#include <sched.h>

#include <algorithm>
#include <future>
#include <random>

#include "fixture.h"
#include "raw_peer.h"

namespace hidlaudio::test {
namespace {

using android::hardware::transport::kDescriptorsFollow;

class ArrivalTest : public HidlTest {
  protected:
    /** Keeps the service's one thread in a method until the gate is opened. */
    std::future<void> occupy() {
        auto done = std::async(std::launch::async, [probe = probe_, this] {
            EXPECT_EQ(errorOf(probe->wait(0, gate_.handle())), "");
        });
        gate_.awaitEntry();
        return done;
    }

    Service service_;
    const sp<IProbe> probe_ = service_.get();
    Gate gate_;
};

struct Client {
    Client() {
        peer.hello();
        channel = peer.openChannel();
        // Once it has had an answer, only the order of its calls counts.
        EXPECT_TRUE(sendRaw(channel, rawCall(peer.object(), UINT32_MAX)));
        EXPECT_EQ(statusOfReply(channel), android::UNKNOWN_TRANSACTION);
    }
    void send() { EXPECT_TRUE(sendRaw(channel, rawCall(peer.object(), kMark))); }

    RawPeer peer;
    int channel;
};

// What has been sent lies in the service's queue, so that the order of sending is
// the order of arrival, and the only right one to be served in.
TEST_F(ArrivalTest, CallsOfAllClientsAreServedInOrderOfArrival) {
    constexpr uint32_t kRounds = 4;
    uint32_t expected = 0;
    for (const size_t count : {2u, 5u, 50u}) {
        SCOPED_TRACE(count);
        std::vector<Client> clients(count);
        std::vector<Client*> order;
        for (Client& client : clients) order.push_back(&client);
        std::shuffle(order.begin(), order.end(), std::minstd_rand(count));
        auto busy = occupy();
        for (Client* client : order) client->send();
        gate_.open();
        for (uint32_t i = 0; i < kRounds * count; ++i) {
            Client* client = order[i % count];
            ASSERT_EQ(positionOfReply(client->channel), expected++);
            if (i + count < kRounds * count) client->send();
        }
        busy.get();
    }
}

// A client that was answered early and calls again comes behind those that wait already.
TEST_F(ArrivalTest, AnEarlyAnswerBuysNoPlaceInTheQueue) {
    Client early;
    Client other;
    const RawMessage call = rawCall(early.peer.object(), kAnswerThenWait,
                                    [this](auto& parcel) { parcel.writeNativeHandleNoDup(gate_.handle()); });
    EXPECT_TRUE(sendRaw(early.channel, rawMessage(kDescriptorsFollow)));
    EXPECT_TRUE(sendRaw(early.channel, call));
    EXPECT_EQ(statusOfReply(early.channel), android::OK);
    gate_.awaitEntry();
    other.send();
    early.send();
    gate_.open();
    EXPECT_EQ(positionOfReply(other.channel), 0u);
    EXPECT_EQ(positionOfReply(early.channel), 1u);
}

/** Runs this process, those it starts, and `other` on one processor while it lives. */
class OneProcessor {
  public:
    explicit OneProcessor(pid_t other) {
        sched_getaffinity(0, sizeof(mBefore), &mBefore);
        cpu_set_t one;
        CPU_ZERO(&one);
        CPU_SET(static_cast<size_t>(sched_getcpu()), &one);
        EXPECT_EQ(sched_setaffinity(0, sizeof(one), &one), 0);
        EXPECT_EQ(sched_setaffinity(other, sizeof(one), &one), 0);
    }
    ~OneProcessor() { sched_setaffinity(0, sizeof(mBefore), &mBefore); }

  private:
    cpu_set_t mBefore;
};

// Real clients, each asking again as soon as it is answered. Served in turns, all
// come to their end at about the same time; a favoured one would be there when the
// others have hardly begun. On one processor, where each waits for the service alone
// and not for its turn beside those that look for their replies.
TEST_F(ArrivalTest, NoClientOfManyStarves) {
    constexpr uint32_t kAllCalls = 10'000;
    const OneProcessor together(service_.pid());
    for (const uint32_t count : {2u, 5u, 50u}) {
        SCOPED_TRACE(count);
        const uint32_t before = probe_->mark() + 1;
        auto busy = occupy();
        Helper crowd({"crowd", std::to_string(count), std::to_string(kAllCalls / count)});
        for (uint32_t i = 0; i < count; ++i) ASSERT_EQ(crowd.readLine(), "ready");
        gate_.open();
        uint32_t first = UINT32_MAX;
        for (uint32_t i = 0; i < count; ++i) {
            const std::string last = crowd.readLine();
            ASSERT_NE(last, "");
            first = std::min(first, static_cast<uint32_t>(std::stoul(last)) - before);
        }
        EXPECT_EQ(crowd.wait(), 0);
        EXPECT_GE(first, kAllCalls * 7 / 10);
        busy.get();
    }
}

}  // namespace
}  // namespace hidlaudio::test
