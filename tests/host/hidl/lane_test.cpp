// SPDX-License-Identifier: Apache-2.0
#include "host/hidl/src/connection/lane.h"

#include <fcntl.h>
#include <sys/mman.h>

#include <algorithm>
#include <future>
#include <random>
#include <thread>

#include "raw_peer.h"

namespace hidlaudio::test {
namespace {

using testing::HasSubstr;

/** A client whose calls are of several kinds, each sent in its own way. Any thread. */
class Caller {
  public:
    explicit Caller(const Service& service) : probe_(service.get()) {
        callback_->event = [this](int32_t value) {
            // The service waits for this answer on the same channel.
            return value % 2 == 0 ? value + 1 : static_cast<int32_t>(probe_->add(value, 1));
        };
        EXPECT_EQ(errorOf(probe_->setCallback(callback_)), "");
    }
    ~Caller() {
        callback_->event = [](int32_t) { return 0; };
    }
    Caller(const Caller&) = delete;
    Caller& operator=(const Caller&) = delete;

    static constexpr uint32_t kKinds = 6;

    void call(uint32_t kind, uint32_t size) {
        const auto number = static_cast<int32_t>(size);
        SCOPED_TRACE("kind " + std::to_string(kind) + ", size " + std::to_string(size));
        const std::string text(size, 't');
        const std::vector<uint8_t> bytes(size, 7);
        switch (kind) {
            case 0:  // around the sizes of a slot, of a packet and of bulk data
                EXPECT_EQ(errorOf(probe_->echoText(text, [&](const auto& same) { EXPECT_EQ(same, text); })),
                          "");
                break;
            case 1:
                EXPECT_EQ(
                    errorOf(probe_->echoBytes(bytes, [&](const auto& same) { EXPECT_EQ(same, bytes); })), "");
                break;
            case 2:
                files(size);
                break;
            case 3:
                EXPECT_EQ(errorOf(probe_->callBack(number,
                                                   [&](int32_t answer, int32_t status) {
                                                       EXPECT_EQ(answer, number + 1);
                                                       EXPECT_EQ(status, 0);
                                                   })),
                          "");
                break;
            case 4: {  // the reply has an object of this process, which must be acknowledged
                Return<sp<IProbeCallback>> same = probe_->getCallback();
                EXPECT_TRUE(interfacesEqual(same.withDefault(nullptr), callback_));
                break;
            }
            default:
                EXPECT_EQ(probe_->add(number, 1), number + 1);
        }
    }

  private:
    /** Sends descriptors in both directions, which the lane can't. */
    void files(uint32_t size) {
        native_handle_t* handle = native_handle_create(1, 0);
        handle->data[0] = memfd_create("file", MFD_CLOEXEC);
        const std::string content = std::to_string(size);
        EXPECT_EQ(write(handle->data[0], content.data(), content.size()), ssize_t(content.size()));
        Files given;
        given.first.setTo(handle, true);
        EXPECT_EQ(errorOf(probe_->readFiles(given,
                                            [&](const hidl_string& text, const Files& same) {
                                                EXPECT_EQ(std::string(text), content);
                                                ASSERT_NE(same.first.getNativeHandle(), nullptr);
                                            })),
                  "");
    }

    const sp<IProbe> probe_;
    const sp<Callback> callback_ = new Callback();
};

class LaneTest : public HidlTest {};

TEST_F(LaneTest, CallsOfAllKindsFollowEachOther) {
    const uint32_t seed = std::random_device()();
    SCOPED_TRACE(seed);
    for (const size_t threads : {1u, 3u}) {
        const Service service({threads});
        Caller caller(service);
        std::vector<std::future<void>> done;
        for (uint32_t thread = 0; thread < 3; ++thread) {
            done.push_back(std::async(std::launch::async, [&caller, number = seed + thread] {
                std::minstd_rand random(number);
                for (int i = 0; i < 300; ++i) {
                    const auto kind = static_cast<uint32_t>(random() % Caller::kKinds);
                    caller.call(kind, static_cast<uint32_t>(random() % 9000));
                }
            }));
        }
        for (auto& one : done) one.get();
    }
}

TEST_F(LaneTest, ChannelsBeyondTheLastLaneWorkWithout) {
    constexpr size_t kClients = 80;
    constexpr size_t kLanes = 64;
    const Service service({3});
    const sp<IProbe> probe = service.get();
    const size_t before = service.descriptors();
    std::vector<std::thread> clients;
    std::promise<void> over;
    const std::shared_future<void> end = over.get_future().share();
    std::atomic<size_t> busy{0};
    for (size_t i = 0; i < kClients; ++i) {
        clients.emplace_back([&] {
            makeBusy(probe);
            ++busy;
            end.wait();
        });
    }
    EXPECT_TRUE(becomesTrue([&] { return busy == kClients; }));
    EXPECT_EQ(service.descriptors(), before + kClients + kLanes);
    over.set_value();
    for (std::thread& client : clients) client.join();
}

TEST_F(LaneTest, EndOfTheServiceEndsTheCall) {
    for (const size_t threads : {1u, 3u}) {
        Service service({threads});
        const sp<IProbe> probe = service.get();
        Gate gate;
        auto call = std::async(std::launch::async, [&] {
            makeBusy(probe);
            return errorOf(probe->wait(1, gate.handle()));
        });
        gate.awaitEntry();
        service.kill();
        EXPECT_THAT(call.get(), HasSubstr("DEAD_OBJECT"));
        EXPECT_THAT(errorOf(probe->add(1, 2)), HasSubstr("DEAD_OBJECT"));
    }
}

/** A peer that has been offered a lane and writes to its memory itself. */
class RawLane : public RawClient {
  public:
    RawLane() {
        for (int i = 0; i < kLaneCalls; ++i) {
            if (i > 0) {
                EXPECT_EQ(typeOf(receiveRaw(channel)), kReply);
            }
            EXPECT_TRUE(sendRaw(channel, good()));
        }
        EXPECT_EQ(typeOf(receiveRaw(channel)), kDescriptorsFollow);
        EXPECT_EQ(typeOf(receiveRaw(channel, &fds)), kLane);
        EXPECT_EQ(typeOf(receiveRaw(channel)), kReply);
        EXPECT_EQ(fds.size(), 2u);
        slots = static_cast<LaneSlot*>(
            mmap(nullptr, 2 * sizeof(LaneSlot), PROT_READ | PROT_WRITE, MAP_SHARED, fds[0].get(), 0));
    }
    ~RawLane() { munmap(slots, 2 * sizeof(LaneSlot)); }
    RawLane(const RawLane&) = delete;
    RawLane& operator=(const RawLane&) = delete;

    RawMessage good() const { return rawCall(object(), kMark); }
    void put(const RawMessage& message, uint32_t packetsBefore = 0, uint32_t more = 0) const {
        LaneSlot& slot = slots[0];
        memcpy(slot.packet, &message.header, kHeaderSize);
        std::copy(message.body.begin(), message.body.end(), slot.packet + kHeaderSize);
        slot.size = static_cast<uint32_t>(kHeaderSize + message.body.size()) + more;
        slot.sentOnSocket = packetsBefore;
        slot.state = kSlotFull;
        ring();
    }
    void ring() const { EXPECT_EQ(write(fds[1].get(), "", 1), 1); }
    /** Makes the service answer in the lane. */
    void poll() const { slots[1].state = kSlotEmpty; }
    /** Waits for an answer in the lane. */
    bool answered() const {
        return becomesTrue([this] { return slots[1].state == kSlotFull; });
    }

    std::vector<unique_fd> fds;
    LaneSlot* slots;

  private:
    static int typeOf(const std::optional<RawMessage>& message) { return message ? message->header.type : 0; }
};

TEST_F(HostileTest, LaneTakesWhatTheSocketTakesAndNothingElse) {
    RawLane good;
    for (uint32_t i = 0; i < 3; ++i) {
        good.poll();
        EXPECT_TRUE(sendRaw(good.channel, good.good()));
        EXPECT_EQ(statusOfReply(good.channel), android::OK) << "the lane is not used yet";
    }
    for (uint32_t i = 0; i < 3; ++i) {
        good.poll();
        good.put(good.good(), 3);
        EXPECT_TRUE(good.answered());
        good.put(good.good(), 3);
        EXPECT_EQ(statusOfReply(good.channel), android::OK) << "the slot is not free";
    }
    const auto with = [](RawMessage message, const std::function<void(MessageHeader&)>& change) {
        change(message.header);
        return message;
    };
    const RawMessage call = good.good();
    const struct {
        const char* name;
        RawMessage message;
        uint32_t packetsBefore;
        uint32_t more;
    } kCases[] = {
        {"longer than its header says", call, 0, 1},
        {"larger than the slot", call, 0, kLanePacket},
        {"4 GiB", call, 0, UINT32_MAX - 200},
        {"shorter than a header", rawMessage(kCall), 0, UINT32_MAX},
        {"packets before it that were not sent", call, 1, 0},
        {"a descriptor", with(call, [](auto& header) { header.fdCount = 1; }), 0, 0},
        {"bulk data without memory", with(call, [](auto& header) { header.bulkSize = 64; }), 0, 0},
        {"a oneway call", with(call, [](auto& header) { header.flags = kOneway; }), 0, 0},
        {"a reply", rawMessage(kReply), 0, 0},
        {"an acknowledgement of nothing", rawMessage(kReplyRead), 0, 0},
        {"a lane", rawMessage(kLane), 0, 0},
    };
    for (const auto& one : kCases) {
        SCOPED_TRACE(one.name);
        RawLane peer;
        peer.put(one.message, one.packetsBefore, one.more);
        EXPECT_TRUE(closes(peer.channel));
    }
    {
        RawLane peer;
        for (int i = 0; i < 100; ++i) peer.ring();
        EXPECT_EQ(probe_->add(1, 2), 3);
        peer.put(call);
        peer.put(call);
        EXPECT_EQ(statusOfReply(peer.channel), android::OK)
            << "more calls than one at a time are the peer's own loss";
    }
    expectUnharmed(1 + 1 + 1 + 1);  // those of `good`: link, process, channel, lane
}

TEST(Lane, IsMadeOfSealedMemoryAndAPipe) {
    using android::hardware::transport::Lane;
    constexpr size_t kSize = 2 * sizeof(LaneSlot);
    const auto isSane = [](auto... fds) {
        std::vector<unique_fd> all;
        (all.push_back(std::move(fds)), ...);
        return Lane::isSane(all);
    };
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    const unique_fd read(ends[0]);
    const unique_fd write(ends[1]);
    const auto pipe = [&] { return unique_fd(dup(write)); };
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends), 0);
    const unique_fd other(ends[1]);
    EXPECT_TRUE(isSane(sealedMemory(kSize), pipe()));
    EXPECT_FALSE(isSane(sealedMemory(kSize)));
    EXPECT_FALSE(isSane(sealedMemory(kSize), pipe(), pipe()));
    EXPECT_FALSE(isSane(pipe(), sealedMemory(kSize)));
    EXPECT_FALSE(isSane(sealedMemory(kSize), unique_fd(ends[0]))) << "would be kept after the peer's end";
    EXPECT_FALSE(isSane(sealedMemory(4096), pipe()));
    EXPECT_FALSE(isSane(sealedMemory(kSize, 0), pipe())) << "may shrink";
    EXPECT_FALSE(isSane(sealedMemory(kSize, F_SEAL_SHRINK | F_SEAL_FUTURE_WRITE), pipe()));
}

// The server makes the pipe block and fills it, then closes it.
TEST(Lane, HostileServerDoesNotBlockItsCaller) {
    using android::hardware::transport::Lane;
    std::vector<unique_fd> sent;
    sent.push_back(sealedMemory(2 * sizeof(LaneSlot)));
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    unique_fd bell(ends[0]);
    sent.emplace_back(ends[1]);
    auto* slots = static_cast<LaneSlot*>(
        mmap(nullptr, sizeof(LaneSlot), PROT_READ | PROT_WRITE, MAP_SHARED, sent[0].get(), 0));
    const std::unique_ptr<Lane> lane = Lane::adopt(sent);
    ASSERT_NE(lane, nullptr);
    const std::vector<char> bytes(static_cast<size_t>(fcntl(sent[1].get(), F_GETPIPE_SZ)));
    EXPECT_EQ(write(sent[1].get(), bytes.data(), bytes.size()), ssize_t(bytes.size()));
    for (const bool closed : {false, true}) {
        EXPECT_TRUE(lane->put("", 1));
        EXPECT_FALSE(lane->put("", 1)) << "not taken yet";
        slots[0].state = kSlotEmpty;
        if (closed) continue;
        sent.clear();
        bell.reset();
    }
    munmap(slots, sizeof(LaneSlot));
}

}  // namespace
}  // namespace hidlaudio::test
