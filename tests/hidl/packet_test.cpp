// SPDX-License-Identifier: Apache-2.0
#include <com/tovi/test/probe/1.1/BpHwProbe.h>
#include <inttypes.h>

#include <fstream>

#include "raw_peer.h"

namespace hidlaudio::test {
namespace {

using com::tovi::test::probe::V1_0::Colour;
using com::tovi::test::probe::V1_0::Item;
using com::tovi::test::probe::V1_1::BpHwProbe;

/** Receives what a proxy calls, and keeps it as a message that can be sent. */
struct Recorder : android::hardware::BHwBinder {
    RawMessage call;

    status_t onTransact(uint32_t code, const Parcel& data, Parcel*, uint32_t, TransactCallback) override {
        const OutgoingBody& body = data.outgoing();
        call = rawMessage(kCall, 0, code);
        call.body.assign(body.body(), body.body() + body.bodySize);
        call.header.bodySize = static_cast<uint32_t>(body.bodySize);
        call.fds = body.fds;
        call.header.fdCount = static_cast<uint16_t>(body.fds.size());
        return android::UNKNOWN_ERROR;
    }
};

/** The addresses at which a process has memory. */
class AddressSpace {
  public:
    explicit AddressSpace(pid_t pid) {
        std::ifstream maps(procFolder(pid) + "/maps");
        for (std::string line; std::getline(maps, line);) {
            Range range{};
            if (sscanf(line.c_str(), "%" SCNx64 "-%" SCNx64, &range.begin, &range.end) == 2)
                ranges_.push_back(range);
        }
        EXPECT_FALSE(ranges_.empty());
    }

    /** The offset of the first address in `bytes`, or -1. */
    ssize_t findIn(const std::vector<uint8_t>& bytes) const {
        uint64_t word = 0;
        for (size_t i = 0; i + sizeof(word) <= bytes.size(); ++i) {
            memcpy(&word, &bytes[i], sizeof(word));
            for (const Range& range : ranges_)
                if (word >= range.begin && word < range.end) return static_cast<ssize_t>(i);
        }
        return -1;
    }

  private:
    struct Range {
        uint64_t begin;
        uint64_t end;
    };
    std::vector<Range> ranges_;
};

using PacketTest = ServedTest;

TEST_F(PacketTest, NoPacketHoldsAnAddressOfItsSender) {
    const Item item{"item", {1.5f}, {"", "note"}, true, Colour::GREEN};
    Everything everything{};
    everything.twoTexts[0] = "first";
    everything.text = std::string(300, '\x01');
    everything.item = item;
    everything.truths = {true};
    everything.numbers = std::vector<double>(20, 0.1);
    everything.table = {{}, {2, 3}};
    everything.items = {item, Item{}};
    everything.texts = {{"a", "b"}, {}};
    native_handle_t* null = native_handle_create(1, 1);
    null->data[0] = open("/dev/null", O_RDONLY | O_CLOEXEC);
    null->data[1] = 9;
    hidl_handle file;
    file.setTo(null, true);
    const Files files{file, {file, hidl_handle()}};
    const auto ignore = [](const auto&...) {};
    const sp<Recorder> recorder = new Recorder();
    const sp<BpHwProbe> proxy = new BpHwProbe(recorder);
    const std::pair<const char*, std::function<bool()>> kCalls[] = {
        {"every type", [&] { return proxy->echo(everything, ignore).isOk(); }},
        {"handles", [&] { return proxy->readFiles(files, ignore).isOk(); }},
        {"text", [&] { return proxy->echoText("text", ignore).isOk(); }},
        {"bytes",
         [&] {
             return proxy->echoBytes({1, 2, 3}, ignore).isOk();
         }},
        {"chain", [&] { return proxy->interfaceChain(ignore).isOk(); }},
        {"dump", [&] { return proxy->debug(file, {"--help"}).isOk(); }},
    };
    const AddressSpace own(getpid());
    for (const auto& [name, call] : kCalls) {
        SCOPED_TRACE(name);
        EXPECT_FALSE(call());
        EXPECT_EQ(own.findIn(recorder->call.body), -1);
        RawClient peer;
        recorder->call.header.target = peer.object();
        const bool announces = !recorder->call.fds.empty();
        EXPECT_TRUE(!announces || sendRaw(peer.channel, rawMessage(kDescriptorsFollow)));
        EXPECT_TRUE(sendRaw(peer.channel, recorder->call));
        std::optional<RawMessage> reply;
        do {
            reply = receiveRaw(peer.channel);
        } while (reply && reply->header.type == kDescriptorsFollow);
        ASSERT_TRUE(reply && reply->header.type == kReply);
        EXPECT_EQ(reply->header.code, 0u);
        EXPECT_EQ(AddressSpace(service_.pid()).findIn(reply->body), -1);
    }
}

}  // namespace
}  // namespace hidlaudio::test
