// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <sys/mman.h>

#include <atomic>
#include <future>
#include <thread>

#include "raw_peer.h"

// The receive buffer of a process, which all its peers share.
namespace hidlaudio::test {
namespace {

using testing::HasSubstr;

constexpr size_t kLargest = 1012 * kKiB;
constexpr char kRefusal[] = "FAILED_TRANSACTION";

class SpaceTest : public HostileTest {
  protected:
    /** Keeps the service's only thread busy while this object exists. */
    struct Busy {
        Gate gate;
        std::future<std::string> call;

        explicit Busy(const sp<IProbe>& probe) {
            call = std::async(std::launch::async, [=] { return errorOf(probe->wait(1, gate.handle())); });
            gate.awaitEntry();
        }
        ~Busy() {
            gate.open();
            EXPECT_EQ(call.get(), "");
        }
    };

    std::string send(size_t size) {
        return errorOf(probe_->echoBytes(hidl_vec<uint8_t>(size), [](const auto&) {}));
    }
    std::string sendOneway(size_t size) { return errorOf(probe_->takeBytes(hidl_vec<uint8_t>(size))); }
};

/** Starts `count` clients that each send `size` bytes after letGo(). */
std::vector<std::unique_ptr<Helper>> makeSenders(size_t count, size_t size) {
    std::vector<std::unique_ptr<Helper>> senders;
    for (size_t i = 0; i < count; ++i) {
        senders.push_back(std::make_unique<Helper>(std::vector<std::string>{"send", std::to_string(size)}));
        EXPECT_EQ(senders.back()->readLine(), "ready");
    }
    return senders;
}

size_t countDone(const std::vector<std::unique_ptr<Helper>>& senders) {
    return static_cast<size_t>(std::count_if(senders.begin(), senders.end(),
                                             [](const auto& sender) { return sender->hasOutput(); }));
}

TEST_F(SpaceTest, CallsOfAllClientsShareTheReceiveBufferOfTheService) {
    const auto senders = makeSenders(6, 250'000);
    std::vector<std::string> results;
    {
        const Busy busy(probe_);
        for (const auto& sender : senders) sender->letGo();
        EXPECT_TRUE(becomesTrue([&] { return countDone(senders) >= 2; }));
        EXPECT_THAT(send(250'000), HasSubstr(kRefusal));
        EXPECT_EQ(countDone(senders), 2u);
    }
    for (const auto& sender : senders) results.push_back(sender->readLine());
    EXPECT_EQ(std::count(results.begin(), results.end(), "sent"), 4);
    EXPECT_EQ(std::count_if(results.begin(), results.end(), testing::Matches(HasSubstr(kRefusal))), 2);
    EXPECT_EQ(send(kLargest), "");
}

TEST_F(SpaceTest, EndOfClientsReleasesTheirClaims) {
    auto senders = makeSenders(4, 250'000);
    {
        const Busy busy(probe_);
        for (const auto& sender : senders) sender->letGo();
        for (const auto& sender : senders) EXPECT_TRUE(fallsAsleep(sender->pid()));
        EXPECT_THAT(send(250'000), HasSubstr(kRefusal));
        senders.clear();
    }
    EXPECT_TRUE(becomesTrue([&] { return send(kLargest).empty(); }));
}

TEST_F(SpaceTest, OnewayCallsShareHalfOfTheReceiveBuffer) {
    {
        const Busy busy(probe_);
        EXPECT_EQ(sendOneway(300'000), "");
        EXPECT_THAT(sendOneway(300'000), HasSubstr(kRefusal));
        EXPECT_EQ(sendOneway(200'000), "");
    }
    EXPECT_EQ(probe_->add(1, 2), 3);
    // The room of a oneway call is released after it, perhaps while the next call is running.
    EXPECT_TRUE(becomesTrue([&] { return sendOneway(500'000).empty(); }));
}

TEST_F(SpaceTest, RepliesShareTheReceiveBufferOfTheClient) {
    std::string inner;
    bool called = false;
    const auto nested = [&](const auto&) {
        inner = errorOf(probe_->makeBytes(600'000, [&](const auto&) { called = true; }));
        EXPECT_EQ(errorOf(probe_->makeBytes(300'000, [](const auto&) {})), "");
    };
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(errorOf(probe_->makeBytes(600'000, nested)), "");
        EXPECT_THAT(inner, HasSubstr(kRefusal));
        EXPECT_FALSE(called);
    }
}

/** A peer that writes to the claims page of the service. */
class Claimer : public RawPeer {
  public:
    Claimer() {
        hello();
        const unique_fd pages[] = {sealedMemory(4096), sealedMemory(4096)};
        const RawMessage space = withFds(rawMessage(kReceiveSpace), {pages[0].get(), pages[1].get()});
        EXPECT_TRUE(sendRaw(control(), space));
        const int channel = openChannel();
        const std::optional<RawMessage> announcement = receiveRaw(channel);
        EXPECT_TRUE(announcement && announcement->header.type == kDescriptorsFollow);
        std::vector<unique_fd> received;
        const std::optional<RawMessage> given = receiveRaw(channel, &received);
        EXPECT_TRUE(given && given->header.type == kReceiveSpace);
        if (received.size() != 2) abort();
        slot_ = given->header.code;
        EXPECT_EQ(map(received[0]), MAP_FAILED) << "peers can write to the books";
        claims_ = static_cast<SpaceClaims*>(map(received[1]));
    }
    ~Claimer() { munmap(claims_, 4096); }

    uint32_t slot() const { return slot_; }
    void claim(uint32_t slot, uint32_t size) { claims_->slots[slot].claimed[kAllMessages] += size; }

  private:
    static void* map(const unique_fd& fd) {
        return mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED, fd.get(), 0);
    }

    uint32_t slot_ = 0;
    SpaceClaims* claims_ = nullptr;
};

TEST_F(SpaceTest, ClaimsOfAnEndedPeerAreNotCounted) {
    {
        Claimer peer;
        peer.claim(peer.slot(), 900'000);
        EXPECT_THAT(send(250'000), HasSubstr(kRefusal));
    }
    expectUnharmed();
    EXPECT_EQ(send(250'000), "");
    EXPECT_EQ(send(kLargest), "");
}

// A peer with false claims can make calls of other peers fail only for a short time.
TEST_F(SpaceTest, ClaimsWithoutMessagesAreSoonNotCounted) {
    const auto recovers = [this] { return becomesTrue([this] { return send(250'000).empty(); }); };
    {
        Claimer honest;
        Claimer own;
        own.claim(own.slot(), 900'000);
        EXPECT_THAT(send(250'000), HasSubstr(kRefusal));
        EXPECT_TRUE(recovers());
        own.claim(own.slot(), 100'000);
        EXPECT_EQ(send(250'000), "");
        own.claim(honest.slot(), UINT32_MAX / 4);
        EXPECT_THAT(send(250'000), HasSubstr(kRefusal));
        EXPECT_TRUE(recovers());
    }
    {
        Claimer busy;
        std::atomic<bool> ends{false};
        std::thread scribbling([&] {
            for (uint32_t i = 1; !ends; i = i * 1'664'525 + 1'013'904'223)
                busy.claim(i % kSpaceSlots, i >> 8);
        });
        EXPECT_TRUE(recovers());
        ends = true;
        scribbling.join();
    }
    // After several such peers, the claims of new links are not counted at all.
    std::string refused;
    for (int i = 0; i < 12; ++i) {
        Claimer peer;
        peer.claim(peer.slot(), 900'000);
        refused = send(250'000);
        EXPECT_TRUE(recovers());
    }
    EXPECT_EQ(refused, "");
    expectUnharmed();
}

}  // namespace
}  // namespace hidlaudio::test
