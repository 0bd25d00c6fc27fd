// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <future>
#include <random>

#include "raw_peer.h"

namespace hidlaudio::test {
namespace {

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

struct Client : RawClient {
    // Once it has had an answer, only the order of its calls counts.
    Client() {
        EXPECT_TRUE(sendRaw(channel, rawCall(object(), UINT32_MAX)));
        EXPECT_EQ(statusOfReply(channel), android::UNKNOWN_TRANSACTION);
    }
    void send() { EXPECT_TRUE(sendRaw(channel, rawCall(object(), kMark))); }
};

// What has been sent lies in the service's queue, so that the order of sending is
// the order of arrival, and the only right one to be served in.
TEST_F(ArrivalTest, CallsOfAllClientsAreServedInOrderOfArrival) {
    constexpr uint32_t kRounds = 4;
    uint32_t expected = 0;
    for (const size_t count : {2u, 5u, 50u}) {
        SCOPED_TRACE(count);
        std::vector<Client> clients(count);
        std::vector<Client*> order(count);
        for (size_t i = 0; i < count; ++i) order[i] = &clients[i];
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
    const RawMessage call = rawCall(early.object(), kAnswerThenWait,
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

}  // namespace
}  // namespace hidlaudio::test
