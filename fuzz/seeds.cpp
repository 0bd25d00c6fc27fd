// SPDX-License-Identifier: Apache-2.0
#include <com/tovi/dtv/hardware/audio/5.1/BnHwAcousticCalibration.h>
#include <com/tovi/dtv/hardware/audio/5.1/BpHwAcousticCalibration.h>
#include <com/tovi/test/probe/1.1/BnHwProbe.h>
#include <com/tovi/test/probe/1.1/BpHwProbe.h>
#include <stdio.h>

#include <filesystem>
#include <fstream>
#include <map>

#include "echo_services.h"
#include "packets.h"

namespace hidlaudio::fuzz {
namespace {

using namespace android::hardware::transport;  // NOLINT: names of the wire format
using android::sp;
using android::hardware::BHwBinder;
using android::hardware::Parcel;
using com::tovi::dtv::hardware::audio::V5_1::BnHwAcousticCalibration;
using com::tovi::dtv::hardware::audio::V5_1::BpHwAcousticCalibration;
using com::tovi::test::probe::V1_1::BnHwProbe;
using com::tovi::test::probe::V1_1::BpHwProbe;
using Bytes = std::string;

Bytes bytesOf(std::initializer_list<int> values) {
    Bytes bytes;
    for (const int value : values) bytes += static_cast<char>(value);
    return bytes;
}

/** A recorded call and its reply. */
struct Call {
    uint32_t code = 0;
    Bytes arguments;  // without the interface's name
    Bytes results;
    int objects = 0;
    int fds = 0;
};

Bytes bodyOf(const Parcel& parcel) {
    const OutgoingBody& body = parcel.outgoing();
    return {reinterpret_cast<const char*>(body.body()), body.bodySize};
}

using NamedCalls = std::map<std::string, Call>;

/** Passes calls of its proxies to a stub and records the last call and its reply. */
struct Recorder : BHwBinder {
    sp<BHwBinder> stub;
    Call call;
    NamedCalls calls;

    explicit Recorder(BHwBinder* target) : stub(target) {}
    android::status_t onTransact(uint32_t code, const Parcel& data, Parcel*, uint32_t flags,
                                 TransactCallback) override {
        const OutgoingBody& out = data.outgoing();
        const Bytes body = bodyOf(data);
        call = {code, body.substr(std::min(body.size(), (body.find('\0') + 4) & ~size_t{3})), "",
                static_cast<int>(out.objects.size()), static_cast<int>(out.fds.size())};
        Parcel request;
        request.incoming().body = out.body();
        request.incoming().bodySize = out.bodySize;
        for (const auto& object : out.objects) request.incoming().attach().objects.push_back(object);
        for (const int fd : out.fds) request.incoming().attach().fds.emplace_back(dup(fd));
        request.startReading();
        Parcel reply;
        const auto keep = [this](Parcel& results) { call.results = bodyOf(results); };
        (void)stub->transact(code, request, &reply, flags, keep);
        return android::UNKNOWN_ERROR;  // so that the proxy does not read the reply
    }

    /** Keeps the last call, which has this result, under a name. */
    template <typename Result>
    void add(const char* name, const Result& result) {
        (void)result.isOk();
        calls[name] = call;
    }
};

/** Returns recorded calls of the probe with a file name for each. */
NamedCalls probeCalls() {
    using test::Callback;
    sp<Recorder> recorder = new Recorder(new BnHwProbe(new EchoProbe));
    const sp<BpHwProbe> probe = new BpHwProbe(recorder);
    const auto ignore = [](const auto&...) {};
    test::Everything everything{};
    everything.text = "text";
    everything.twoTexts[1] = "second";
    everything.item.name = "item";
    everything.item.notes = {"a", ""};
    everything.item.gains = {1.5F, -9};
    everything.items = {everything.item, {}};
    everything.table = {{1, 2}, {}, {3}};
    everything.texts = {{"x"}, {}};
    everything.truths = {true, false};
    native_handle_t* file = native_handle_create(1, 2);
    file->data[0] = descriptor(1, -1);
    file->data[1] = file->data[2] = 7;
    const sp<Callback> callback = new Callback;
    recorder->add("add", probe->add(1, 2));
    recorder->add("mark", probe->mark());
    recorder->add("set-callback", probe->setCallback(callback));
    recorder->add("get-callback", probe->getCallback());
    recorder->add("bytes", probe->echoBytes({1, 2, 3}, ignore));
    recorder->add("text", probe->echoText("text", ignore));
    recorder->add("texts", probe->echoTexts({{"a", "bc"}, {}, {"def"}}, ignore));
    recorder->add("callbacks", probe->passCallbacks({callback, nullptr, callback}, ignore));
    recorder->add("files", probe->readFiles({file, {file, test::hidl_handle()}}, ignore));
    recorder->add("note-oneway", probe->note(7, file));
    recorder->add("everything", probe->echo(everything, ignore));
    recorder->add("make-large-bytes", probe->makeBytes(20'000, ignore));
    recorder->add("make-large-text", probe->makeText(39'999, ignore));
    recorder->add("take-bytes-oneway", probe->takeBytes({1, 2}));
    recorder->add("make-callback", probe->makeCallback());
    recorder->add("call-back", probe->callBack(5, ignore));
    recorder->add("interface-chain", probe->interfaceChain(ignore));
    recorder->add("debug", probe->debug(test::hidl_handle(), {"--help"}));
    recorder->add("hash-chain", probe->getHashChain(ignore));
    native_handle_delete(file);
    return recorder->calls;
}

NamedCalls calibrationCalls() {
    sp<Recorder> recorder = new Recorder(new BnHwAcousticCalibration(new EchoCalibration));
    const sp<BpHwAcousticCalibration> calibration = new BpHwAcousticCalibration(recorder);
    const auto ignore = [](const auto&...) {};
    EchoCalibration::Data channel{"FL", {{"Parametric", 0, 0, 1.5F}, {}}, -3, 2.5F};
    recorder->add("set-calibration", calibration->setCalibratedData({channel, {}}));
    recorder->add("get-calibration", calibration->getCalibratedData(ignore));
    recorder->add("smooth-delay", calibration->setSmoothDelay({1, 2}));
    return recorder->calls;
}

/** Returns the input of takeMessage() for a call or its reply. */
Bytes message(const Call& call, uint8_t type, uint8_t flags, uint64_t references = 0x5, uint8_t memory = 0) {
    const bool oneway = isOneway(call.code);
    Bytes text =
        bytesOf({type, flags | (oneway ? kOneway : 0), 0, call.objects, call.fds + memory, memory, 0, 0});
    const uint32_t code = type == kCall ? call.code : 0;
    const Bytes& body = type == kCall ? call.arguments : call.results;
    const auto size = static_cast<uint32_t>(body.size());
    text.append(reinterpret_cast<const char*>(&code), sizeof(code));
    text.append(reinterpret_cast<const char*>(&size), sizeof(size));
    for (int i = 0; i < call.objects; ++i) text.append(reinterpret_cast<const char*>(&references), 2);
    for (int i = 0; i < call.fds + memory; ++i) text += static_cast<char>(memory != 0 && i == 0 ? 0 : 1);
    if (memory != 0) text += bytesOf({0x40, 0, 0, 0, 0, 0x10, 0, 0});
    return text + body;
}

constexpr int kHelloStep = 0;
constexpr int kChannelStep = 1;
constexpr int kServeStep = 2;
constexpr int kReadStep = 3;
constexpr int kControlStep = 5;
constexpr int kMessageStep = 6;
constexpr int kToControl = 4 * 8;

class Corpus {
  public:
    explicit Corpus(std::filesystem::path folder) : folder_(std::move(folder)) {}

    void add(const char* target, const std::string& name, const Bytes& input) const {
        std::filesystem::create_directories(folder_ / target);
        std::ofstream(folder_ / target / name, std::ios::binary) << input;
    }

  private:
    const std::filesystem::path folder_;
};

void addParcels(const Corpus& corpus, int whose, const NamedCalls& calls) {
    for (const auto& [name, call] : calls) {
        const int base = static_cast<int>(call.code >> 24) != 0 ? 2 : whose;
        // The target has its own numbers for the methods of IBase; the fuzzer tries all of them anyway.
        const Bytes beside = bytesOf({call.objects, call.fds, 0});
        corpus.add("parcel", name,
                   bytesOf({base, static_cast<int>(call.code & 0xff)}) + beside + call.arguments);
    }
}

/** Adds replies: the calls with their index in readReply() of parcel.cpp. */
void addReplies(const Corpus& corpus, const NamedCalls& calls) {
    static const std::pair<const char*, int> kReaders[] = {
        {"get-calibration", 0}, {"everything", 5}, {"files", 6},       {"callbacks", 7},       {"texts", 8},
        {"bytes", 9},           {"add", 11},       {"hash-chain", 12}, {"interface-chain", 13}};
    for (const auto& [name, reader] : kReaders) {
        const auto found = calls.find(name);
        if (found == calls.end()) continue;
        const Call& call = found->second;
        corpus.add("parcel", std::string("reply-") + name,
                   bytesOf({3, reader, call.objects, call.fds, 0}) + call.results);
    }
}

void addConnections(const Corpus& corpus, const NamedCalls& calls) {
    const Bytes start = bytesOf({kHelloStep, 3, kChannelStep});
    const Bytes end = bytesOf({kServeStep, kReadStep, kToControl | kReadStep});
    const Bytes announcement = message({}, kDescriptorsFollow, 0);
    for (const auto& [name, call] : calls) {
        const bool oneway = isOneway(call.code);
        const Bytes to = bytesOf({kMessageStep | (oneway ? kToControl : 0)});
        const Bytes before = call.fds > 0 && !oneway ? to + announcement : "";
        corpus.add("connection", name, start + before + to + message(call, kCall, 0) + end);
        corpus.add("message", name,
                   bytesOf({oneway, 1 + (before.empty() ? 0 : 1)}) + (before.empty() ? "" : announcement) +
                       message(call, kCall, 0) + bytesOf({2, 0, 0, 0, 3, 16, 0, 0, 4, 5, 0, 13}));
    }
    const Bytes to = bytesOf({kMessageStep});
    Call answer;
    answer.results = Bytes(4, '\0') + bytesOf({6, 0, 0, 0});
    corpus.add("connection", "callback-that-answers",
               start + to + message(calls.at("set-callback"), kCall, 0) + to +
                   message(calls.at("call-back"), kCall, 0) + to + message(answer, kReply, 0) + end);
    corpus.add("connection", "callback-of-a-dead-channel",
               start + to + message(calls.at("set-callback"), kCall, 0) +
                   bytesOf({kServeStep, kChannelStep}) + to + message(calls.at("call-back"), kCall, 0) + end);
    corpus.add(
        "connection", "bytes-in-shared-memory",
        start + to + announcement + to + message(calls.at("bytes"), kCall, kNewBulkMemory, 0, 1) + end);
    corpus.add("connection", "body-in-shared-memory",
               start + to + announcement + to +
                   message(calls.at("everything"), kCall, kNewBulkMemory | kBodyInBulk, 0, 1) + end);
    corpus.add("connection", "object-that-comes-home",
               start + to + message(calls.at("set-callback"), kCall, 0, 2) + to +
                   message(calls.at("get-callback"), kCall, 0) + to + message({}, kReplyRead, 0) + end);
    corpus.add("connection", "acquire-and-release",
               start + bytesOf({kControlStep, kAcquire, 0, 0, kControlStep, kRelease, 0, 1}) + end);
    corpus.add("connection", "release-too-much",
               start + bytesOf({kControlStep, kAcquire, 0, 0, kControlStep, kRelease, 0, 2}) + end);
    Bytes many = start;
    for (int i = 0; i < 10; ++i) many += to + message(calls.at("mark"), kCall, 0);
    corpus.add("connection", "calls-without-waiting", many + end);
    Call claim{8, bytesOf({0, 0, 0, 0x10, 0, 0, 0, 0}), "", 0, 0};
    corpus.add("parcel", "more-callbacks-than-there-are", bytesOf({0, 8, 0, 0, 0}) + claim.arguments);
    corpus.add("connection", "more-callbacks-than-there-are", start + to + message(claim, kCall, 0) + end);
    // Control channel: books and claims, one page each. The service answers on the next call channel.
    const Bytes space = bytesOf(
        {kToControl | kMessageStep, kReceiveSpace, 0, 0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 4, 4});
    Bytes claiming = message(calls.at("text"), kCall, 0);
    claiming[6] = 8;
    corpus.add("connection", "receive-buffer",
               bytesOf({kHelloStep, 3}) + space + bytesOf({kChannelStep}) + to + claiming + end);
    corpus.add("connection", "no-room",
               start + bytesOf({kControlStep, kRefused, 0, 0, kControlStep, kTurnedAway, 0, 0}) + end);
    corpus.add("connection", "memory-lost",
               start + to + message(calls.at("make-large-bytes"), kCall, 0) +
                   bytesOf({kServeStep, kChannelStep}) + to +
                   message(calls.at("make-large-bytes"), kCall, kBulkMemoryLost) + end);
    corpus.add("connection", "no-hello", bytesOf({kChannelStep}) + end);
}

}  // namespace
}  // namespace hidlaudio::fuzz

/** Writes the seed inputs of the targets that read binary messages: fuzz_seeds fuzz/corpus. */
int main(int argc, char** argv) {
    using namespace hidlaudio::fuzz;  // NOLINT: names of this file
    if (argc != 2) {
        fprintf(stderr, "Usage: %s FOLDER\n", argv[0]);
        return 2;
    }
    const Corpus corpus(argv[1]);
    auto probe = probeCalls();
    const auto calibration = calibrationCalls();
    addParcels(corpus, 0, probe);
    addParcels(corpus, 1, calibration);
    addConnections(corpus, probe);
    addReplies(corpus, probe);
    addReplies(corpus, calibration);
    return 0;
}
