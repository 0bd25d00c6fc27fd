// SPDX-License-Identifier: Apache-2.0
#include <android/hardware/audio/5.0/BpHwDevice.h>
#include <com/tovi/dtv/hardware/audio/3.1/BpHwHdmiAudio.h>
#include <com/tovi/dtv/hardware/audio/5.1/BnHwAcousticCalibration.h>
#include <com/tovi/dtv/hardware/audio/5.1/BpHwAcousticCalibration.h>
#include <com/tovi/test/probe/1.1/BnHwProbe.h>
#include <com/tovi/test/probe/1.1/BpHwProbe.h>
#include <fcntl.h>
#include <unistd.h>

#include <memory>

#include "echo_services.h"
#include "host/hidl/src/connection/bulk.h"
#include "input.h"
#include "private_tv.h"

namespace hidlaudio::fuzz {
namespace {

using namespace android::hardware::transport;  // NOLINT: names of the wire format
using android::hardware::IBinder;
using android::hardware::Parcel;
namespace audio = com::tovi::dtv::hardware::audio;
namespace probe = com::tovi::test::probe;

/** Attachments of the message. */
struct Beside {
    uint8_t objects;  // number of references to the probe
    uint8_t fds;
    uint8_t bulk;  // whether there is plain data in shared memory (odd)
};

constexpr size_t kMaxObjects = 8;
constexpr size_t kMaxFds = 4;
constexpr size_t kBulkSize = 16384;

struct Objects {
    android::sp<EchoProbe> probe = new EchoProbe;
    android::sp<EchoCalibration> calibration = new EchoCalibration;
    android::sp<IBinder> probeStub = new probe::V1_1::BnHwProbe(probe);
    android::sp<IBinder> calibrationStub = new audio::V5_1::BnHwAcousticCalibration(calibration);
    android::base::unique_fd memory;
    std::shared_ptr<BulkMapping> bulk = BulkMapping::create(&memory);
};

Objects& objects() {
    static auto& objects = *new Objects;
    return objects;
}

/** A body that ends with its allocation, so that a read beyond it is reported. */
class Body {
  public:
    Body(const std::string& token, Input& input) {
        const size_t tokenSize = token.empty() ? 0 : (token.size() + 4) & ~size_t{3};
        size_ = tokenSize + input.left();
        bytes_ = std::make_unique<uint8_t[]>(size_);
        memcpy(bytes_.get(), token.c_str(), token.size());
        memcpy(bytes_.get() + tokenSize, input.take(input.left()), size_ - tokenSize);
    }

    void give(const Beside& beside, Parcel* parcel) const {
        IncomingMessage& message = parcel->incoming();
        message.body = bytes_.get();
        message.bodySize = size_;
        for (size_t i = 0; i < beside.objects % kMaxObjects; ++i)
            message.attach().objects.push_back(objects().probeStub);
        for (size_t i = 0; i < beside.fds % kMaxFds; ++i)
            message.attach().fds.emplace_back(open("/dev/null", O_RDWR | O_CLOEXEC));
        if (beside.bulk % 2 != 0) message.bulk = BulkView(objects().bulk, 0, 0, kBulkSize);
        parcel->startReading();
    }

  private:
    size_t size_;
    std::unique_ptr<uint8_t[]> bytes_;
};

/** A remote object whose reply is the input. */
struct Replying : IBinder {
    const Body& body;
    const Beside beside;

    Replying(const Body& reply, const Beside& more) : body(reply), beside(more) {}
    android::status_t transact(uint32_t, const Parcel&, Parcel* reply, uint32_t, TransactCallback) override {
        body.give(beside, reply);
        return android::OK;
    }
    android::status_t linkToDeath(const android::sp<DeathRecipient>&, void*, uint32_t) override {
        return android::OK;
    }
    android::status_t unlinkToDeath(const android::wp<DeathRecipient>&, void*, uint32_t,
                                    android::wp<DeathRecipient>*) override {
        return android::OK;
    }
};

void serve(const android::sp<IBinder>& stub, const char* token, uint32_t code, const Beside& beside,
           Input& input) {
    const Body body(token, input);
    Parcel data;
    Parcel reply;
    body.give(beside, &data);
    stub->transact(code, data, &reply, isOneway(code) ? IBinder::FLAG_ONEWAY : 0, [](Parcel&) {});
}

/** Numbers of the methods of IBase. */
constexpr uint32_t kBaseMethods[] = {0x0f43484e, 0x0f444247, 0x0f445343, 0x0f485348,
                                     0x0f494e54, 0x0f504e47, 0x0f524546, 0x0f535953};

const auto kIgnore = [](const auto&...) {};

using Remote = android::sp<IBinder>;

template <typename Proxy>
android::sp<Proxy> as(const Remote& remote) {
    return new Proxy(remote);
}

constexpr auto calibration = as<audio::V5_1::BpHwAcousticCalibration>;
constexpr auto hdmi = as<audio::V3_1::BpHwHdmiAudio>;
constexpr auto device = as<android::hardware::audio::V5_0::BpHwDevice>;
constexpr auto prober = as<probe::V1_1::BpHwProbe>;

/** Makes a client's call whose reply is the input. */
void readReply(uint8_t method, const Remote& remote) {
    static void (*const kMethods[])(const Remote&) = {
        [](const Remote& r) { (void)calibration(r)->getCalibratedData(kIgnore).isOk(); },
        [](const Remote& r) { (void)calibration(r)->getCalibrationParameters(kIgnore).isOk(); },
        [](const Remote& r) { (void)calibration(r)->getSmoothDelay(kIgnore).isOk(); },
        [](const Remote& r) { (void)hdmi(r)->getAudioCapabilities(kIgnore).isOk(); },
        [](const Remote& r) { (void)device(r)->getParameters({}, {"key"}, kIgnore).isOk(); },
        [](const Remote& r) { (void)prober(r)->echo({}, kIgnore).isOk(); },
        [](const Remote& r) { (void)prober(r)->readFiles({}, kIgnore).isOk(); },
        [](const Remote& r) { (void)prober(r)->passCallbacks({}, kIgnore).isOk(); },
        [](const Remote& r) { (void)prober(r)->echoTexts({}, kIgnore).isOk(); },
        [](const Remote& r) { (void)prober(r)->echoBytes({}, kIgnore).isOk(); },
        [](const Remote& r) { (void)prober(r)->getCallback().isOk(); },
        [](const Remote& r) { (void)prober(r)->add(1, 2).isOk(); },
        [](const Remote& r) { (void)prober(r)->getHashChain(kIgnore).isOk(); },
        [](const Remote& r) { (void)prober(r)->interfaceChain(kIgnore).isOk(); },
        [](const Remote& r) { (void)prober(r)->getDebugInfo(kIgnore).isOk(); },
    };
    kMethods[method % std::size(kMethods)](remote);
}

}  // namespace
}  // namespace hidlaudio::fuzz

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    hidlaudio::fuzz::silenceLog();
    return 0;
}

/**
 * Runs the generated readers of requests and replies.
 *
 * Input: target (0 probe, 1 calibration, 2 IBase, 3 reply), method, Beside, body without the name of the
 * interface.
 */
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace hidlaudio::fuzz;  // NOLINT: names of this file
    Input input(data, size);
    const auto whose = input.take<uint8_t>();
    const auto method = input.take<uint8_t>();
    const auto beside = input.take<Beside>();
    switch (whose % 4) {
        case 0:
            serve(objects().probeStub, probe::V1_0::IProbe::descriptor, method, beside, input);
            break;
        case 1:
            serve(objects().calibrationStub, audio::V3_0::IAcousticCalibration::descriptor, method, beside,
                  input);
            break;
        case 2:
            serve(objects().probeStub, android::hidl::base::V1_0::IBase::descriptor,
                  kBaseMethods[method % std::size(kBaseMethods)], beside, input);
            break;
        default: {
            const Body body("", input);
            readReply(method, new Replying(body, beside));
        }
    }
    return 0;
}
