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

/** Records the last call of a proxy as a message that can be sent. */
struct Recorder : android::hardware::BHwBinder {
    RawMessage call;
    size_t size = 0;

    status_t onTransact(uint32_t code, const Parcel& data, Parcel*, uint32_t, TransactCallback) override {
        const OutgoingBody& body = data.outgoing();
        size = body.transactionSize();
        call = rawCall(0, code, body);
        return android::UNKNOWN_ERROR;
    }
};

// Mappings of this size and more are ignored: a sanitizer's shadow memory covers most of the address
// space.
constexpr uint64_t kShadowSize = uint64_t{1} << 36;

/** The mapped addresses of a process. */
class AddressSpace {
  public:
    explicit AddressSpace(pid_t pid) {
        std::ifstream maps(procFolder(pid) + "/maps");
        for (std::string line; std::getline(maps, line);) {
            Range range{};
            if (sscanf(line.c_str(), "%" SCNx64 "-%" SCNx64, &range.begin, &range.end) == 2 &&
                range.end - range.begin < kShadowSize)
                ranges_.push_back(range);
        }
        EXPECT_FALSE(ranges_.empty());
    }

    /** Returns the offset of the first mapped address in `bytes`, or -1 if there is none. */
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

/** Fixture with a proxy whose calls are recorded. */
class PacketTest : public ServedTest {
  protected:
    const sp<Recorder> recorder_ = new Recorder();
    const sp<BpHwProbe> proxy_ = new BpHwProbe(recorder_);
};

/** Result callback for calls that return no results. */
constexpr auto kIgnore = [](const auto&...) {};

native_handle_t* newHandle(const std::vector<int>& numbers) {
    native_handle_t* handle = native_handle_create(1, static_cast<int>(numbers.size()));
    handle->data[0] = open("/dev/null", O_RDONLY | O_CLOEXEC);
    std::copy(numbers.begin(), numbers.end(), handle->data + 1);
    return handle;
}

TEST_F(PacketTest, PacketsContainNoAddressOfTheirSender) {
    if (HIDLAUDIO_EMULATED) GTEST_SKIP() << "the memory map is that of the emulator";
    // Each structure is static or made by the vector: its padding is zero, not a piece of an address.
    static const Item item{"item", {1.5f}, {"", "note"}, true, Colour::GREEN};
    static Everything everything{};
    everything.twoTexts[0] = "first";
    everything.text = std::string(300, '\x01');
    everything.item = item;
    everything.truths = {true};
    everything.numbers = std::vector<double>(20, 0.1);
    everything.table = {{}, {2, 3}};
    everything.items.resize(2);
    everything.items[0] = item;
    everything.texts = {{"a", "b"}, {}};
    hidl_handle file;
    file.setTo(newHandle({9}), true);
    const Files files{file, {file, hidl_handle()}};
    const std::pair<const char*, std::function<bool()>> kCalls[] = {
        {"every type", [&] { return proxy_->echo(everything, kIgnore).isOk(); }},
        {"handles", [&] { return proxy_->readFiles(files, kIgnore).isOk(); }},
        {"text", [&] { return proxy_->echoText("text", kIgnore).isOk(); }},
        {"bytes", [&] { return proxy_->echoBytes({1, 2, 3}, kIgnore).isOk(); }},
        {"chain", [&] { return proxy_->interfaceChain(kIgnore).isOk(); }},
        {"dump", [&] { return proxy_->debug(file, {"--help"}).isOk(); }},
    };
    const AddressSpace own(getpid());
    for (const auto& [name, call] : kCalls) {
        SCOPED_TRACE(name);
        EXPECT_FALSE(call());
        EXPECT_EQ(own.findIn(recorder_->call.body), -1);
        RawClient peer;
        recorder_->call.header.target = peer.object();
        const bool announces = !recorder_->call.fds.empty();
        EXPECT_TRUE(!announces || sendRaw(peer.channel, rawMessage(kDescriptorsFollow)));
        EXPECT_TRUE(sendRaw(peer.channel, recorder_->call));
        std::optional<RawMessage> reply;
        do {
            reply = receiveRaw(peer.channel);
        } while (reply && reply->header.type == kDescriptorsFollow);
        ASSERT_TRUE(reply && reply->header.type == kReply);
        EXPECT_EQ(reply->header.code, 0u);
        EXPECT_EQ(AddressSpace(service_.pid()).findIn(reply->body), -1);
    }
}

// A transaction that fits here must fit on the TV.
TEST_F(PacketTest, TransactionSizeEqualsThatOfThePlatformsParcel) {
    constexpr size_t kName = 32;    // "com.tovi.test.probe@1.0::IProbe"
    constexpr size_t kObject = 48;  // of a buffer, with its entry in the list of objects
    constexpr size_t kHead = 16;    // of a string or a vector
    constexpr size_t kItem = 56;    // a string, two vectors, a bool, an enumeration
    // An empty structure: eight strings, each with its NUL, and seven vectors.
    constexpr size_t kEverything = sizeof(Everything) + 8 * (kObject + 8) + 7 * kObject;
    hidl_handle file;
    file.setTo(newHandle({1, 2}), true);
    const Item item{"channel", {1, 2, 3}, {"", "12345678"}, true, Colour::RED};
    const sp<IProbeCallback> callback = new Callback();
    Everything everything{};
    everything.items = {item};
    const struct {
        const char* name;
        std::function<bool()> call;
        size_t size;
    } kCases[] = {
        {"two numbers", [&] { return proxy_->add(1, 2).isOk(); }, kName + 8},
        {"a number", [&] { return proxy_->makeBytes(1, kIgnore).isOk(); }, kName + 8},
        {"empty text", [&] { return proxy_->echoText("", kIgnore).isOk(); }, kName + 2 * kObject + kHead + 8},
        {"7 letters", [&] { return proxy_->echoText("1234567", kIgnore).isOk(); },
         kName + 2 * kObject + kHead + 8},
        {"8 letters", [&] { return proxy_->echoText("12345678", kIgnore).isOk(); },
         kName + 2 * kObject + kHead + 16},
        {"no bytes", [&] { return proxy_->echoBytes({}, kIgnore).isOk(); }, kName + 2 * kObject + kHead},
        {"5001 bytes", [&] { return proxy_->echoBytes(hidl_vec<uint8_t>(5001), kIgnore).isOk(); },
         kName + 2 * kObject + kHead + 5008},
        {"interface", [&] { return proxy_->setCallback(callback).isOk(); }, kName + 32},
        {"no interface", [&] { return proxy_->setCallback(nullptr).isOk(); }, kName + 24},
        {"interfaces", [&] { return proxy_->passCallbacks({callback, nullptr}, kIgnore).isOk(); },
         kName + 8 + 32 + 24},
        {"no handle", [&] { return proxy_->note(1, nullptr).isOk(); }, kName + 4 + 8 + 4},
        {"handle", [&] { return proxy_->note(1, file).isOk(); }, kName + 4 + 8 + kObject + 24 + 40 + 4},
        {"structure", [&] { return proxy_->echo(everything, kIgnore).isOk(); },
         kName + kObject + kEverything + kItem + (kObject + 8) + (kObject + 16) +
             (kObject + 2 * kHead + kObject + 8 + kObject + 16)},
    };
    for (const auto& one : kCases) {
        SCOPED_TRACE(one.name);
        EXPECT_FALSE(one.call());
        EXPECT_EQ(recorder_->size, one.size);
    }
}

}  // namespace
}  // namespace hidlaudio::test
