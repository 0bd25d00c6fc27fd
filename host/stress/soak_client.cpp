// SPDX-License-Identifier: Apache-2.0
#include <com/tovi/dtv/hardware/audio/3.1/IHdmiAudio.h>
#include <com/tovi/dtv/hardware/audio/3.1/IOutputExternal.h>
#include <com/tovi/dtv/hardware/audio/4.0/ICenterSpeaker.h>
#include <com/tovi/dtv/hardware/audio/5.1/IAcousticCalibration.h>
#include <com/tovi/dtv/hardware/audio/5.1/IHeadphoneVirtualizer.h>
#include <com/tovi/dtv/hardware/audio/6.1/IMicControl.h>
#include <com/tovi/dtv/hardware/audio/6.1/IOutputSpeaker.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <iterator>
#include <random>

/**
 * A client that calls all services at random, from its main thread and from inside its callbacks. It exits
 * with 0 if a call fails because the service has ended, and with 1 after a result that is not possible.
 */
namespace {

using namespace com::tovi::dtv::hardware::audio;
using android::sp;
using android::hardware::hidl_handle;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::Return;
using android::hardware::Void;
using V5_0::ParamType;

constexpr int32_t kMaxHandle = 254;
constexpr int32_t kMaxSize = 300000;
constexpr int32_t kMaxAppend = 262144;
constexpr int kMaxDepth = 3;

struct Services {
    sp<V3_1::IHdmiAudio> hdmi = V3_1::IHdmiAudio::getService();
    sp<V3_1::IOutputExternal> external = V3_1::IOutputExternal::getService();
    sp<V6_1::IOutputSpeaker> speaker = V6_1::IOutputSpeaker::getService();
    sp<V5_1::IAcousticCalibration> calibration = V5_1::IAcousticCalibration::getService();
    sp<V4_0::ICenterSpeaker> center = V4_0::ICenterSpeaker::getService();
    sp<V5_1::IHeadphoneVirtualizer> virtualizer = V5_1::IHeadphoneVirtualizer::getService();
    sp<V6_1::IMicControl> mic = V6_1::IMicControl::getService();
};

Services* services = nullptr;
std::atomic<uint32_t> nextSeed{0};
thread_local std::minstd_rand generator(nextSeed++);  // each thread has its own sequence
thread_local int depth = 0;                           // number of nested callbacks on this thread
thread_local bool inUploadCallback = false;

int32_t below(int32_t count) {
    return static_cast<int32_t>(generator() % static_cast<uint32_t>(count));
}

/** Returns the result of a call. Exits if the call failed or if `isRight` rejects the result. */
template <typename T>
T valueOf(const Return<T>& answer, const char* method, bool (*isRight)(T)) {
    if (!answer.isOk()) _exit(0);
    const T value = answer;
    if (isRight(value)) return value;
    fprintf(stderr, "soak_client: %s returned %g\n", method, static_cast<double>(value));
    _exit(1);
}

/** Exits if the call failed. */
void requireOk(const android::hardware::details::return_status& answer) {
    if (!answer.isOk()) _exit(0);
}

void act();
void upload(ParamType kind);

/** Calls services from inside a callback, with at most kMaxDepth nested callbacks. */
void actInside() {
    if (depth >= kMaxDepth) return;
    ++depth;
    for (int32_t i = below(3); i > 0; --i) act();
    --depth;
}

/** Like most clients, usually starts the next upload of the same kind from inside the callback. */
class UploadCallback : public V5_0::IHeadphoneVirtualizerCallback {
  public:
    explicit UploadCallback(ParamType kind) : kind_(kind) {}

    Return<void> onApplyResult(int32_t result) override {
        if (result < -3 || result > 1) {
            fprintf(stderr, "soak_client: onApplyResult(%d)\n", result);
            _exit(1);
        }
        const bool before = inUploadCallback;
        inUploadCallback = true;
        actInside();
        if (below(2) != 0) upload(kind_);
        inUploadCallback = before;
        return Void();
    }

  private:
    const ParamType kind_;
};

struct HdmiCallback : V1_1::IHdmiAudioCallback {
    Return<void> onCapabilityChanged(const hidl_vec<hidl_string>& names) override {
        if (names.size() == 0) _exit(1);
        actInside();
        return Void();
    }
};

bool isUploadResult(int32_t result) {
    return result >= -5 && result <= 0;
}

int32_t allocate(ParamType kind, int32_t size) {
    return valueOf<int32_t>(services->virtualizer->allocateParameterBuffer(kind, size),
                            "allocateParameterBuffer",
                            [](int32_t handle) { return handle > 0 && handle <= kMaxHandle; });
}

int32_t append(int32_t handle, int32_t size) {
    const hidl_vec<uint8_t> data(static_cast<size_t>(size));
    return valueOf<int32_t>(services->virtualizer->append(handle, data), "append", isUploadResult);
}

int32_t apply(int32_t handle, ParamType kind) {
    return valueOf<int32_t>(services->virtualizer->apply(handle, new UploadCallback(kind)), "apply",
                            isUploadResult);
}

void upload(ParamType kind) {
    const int32_t size = below(below(4) == 0 ? kMaxSize : 64);
    const int32_t handle = allocate(kind, size);
    int32_t result = 0;
    for (int32_t sent = 0; sent < size && result == 0; sent += kMaxAppend) {
        result = append(handle, std::min(size - sent, kMaxAppend));
    }
    if (result != 0) return;
    result = apply(handle, kind);
    // Repeat the call, so that it sometimes coincides with the end of the upload.
    for (int tries = below(4); tries > 0 && (result == 0 || result == -3); --tries)
        result = apply(handle, kind);
}

/**
 * Does nothing inside an upload callback. That callback occupies the only callback thread of this client, and
 * the callback of another client may be waiting for that thread: a deadlock.
 */
void setCapabilities() {
    if (inUploadCallback) return;
    const hidl_vec<hidl_string> names{below(2) != 0 ? "ARC_DD_PLUS" : "ARC_DD_NONE", "ARC_MP4AAC_5_1"};
    requireOk(services->hdmi->setAudioCapabilities(names));
}

void useCalibration() {
    const auto& service = services->calibration;
    requireOk(service->setEnabled(below(2) != 0));
    requireOk(service->setSmoothDelayEnabled(below(2) != 0));
    requireOk(service->setSmoothDelay({static_cast<float>(below(5)), 1.0F, 2.0F}));
    requireOk(service->getSmoothDelay([](const hidl_vec<float>& delays) {
        if (delays.size() != 0 && delays.size() != 2 && delays.size() != 3) _exit(1);
    }));
    requireOk(service->getCalibratedData([](const hidl_vec<V3_0::calibratedData>&) {}));
}

void dump() {
    static const int file = memfd_create("dump", MFD_CLOEXEC);
    native_handle_t* const handle = native_handle_create(1, 0);
    handle->data[0] = file;
    requireOk(services->virtualizer->debug(hidl_handle(handle), {}));
    native_handle_delete(handle);
}

void uploadAny() {
    upload(static_cast<ParamType>(below(2)));
}

/** An action that is listed several times is more frequent. */
constexpr void (*kActions[])() = {
    uploadAny,
    uploadAny,
    uploadAny,
    setCapabilities,
    useCalibration,
    dump,
    [] {
        valueOf<int32_t>(services->virtualizer->discardParameterBuffer(1 + below(kMaxHandle)),
                         "discardParameterBuffer", isUploadResult);
    },
    [] {
        for (int32_t handle = 1; handle < 4; ++handle)
            valueOf<int32_t>(services->virtualizer->cancel(handle), "cancel", isUploadResult);
    },
    [] {
        requireOk(services->virtualizer->setVirtualizerEnabled(below(2) != 0));
        requireOk(services->virtualizer->getUpmixEnabled());
    },
    [] { append(1 + below(kMaxHandle), below(60000)); },
    [] {
        requireOk(services->hdmi->getAudioCapabilities([](const hidl_vec<hidl_string>& names) {
            if (names.size() != 3) _exit(1);
        }));
    },
    [] {
        static std::atomic<int> set{0};
        if (++set < 4) requireOk(services->hdmi->setCallback(new HdmiCallback));
    },
    [] {
        requireOk(services->external->setForceEncodingEnabled(below(2) != 0));
        requireOk(services->external->getForceEncodingEnabled());
    },
    [] {
        requireOk(services->speaker->setTvPosition(below(2)));
        requireOk(services->speaker->getTvPosition());
    },
    [] {
        requireOk(services->mic->setMicGain("AUDIO_DEVICE_IN_BUILTIN_MIC", 0.5F));
        requireOk(services->center->isCenterSpeakerInputAvailable());
    }};

void act() {
    kActions[below(static_cast<int32_t>(std::size(kActions)))]();
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        fprintf(stderr, "usage: soak_client SEED\n");
        return 2;
    }
    nextSeed = static_cast<uint32_t>(strtoul(argv[1], nullptr, 10));
    Services found;
    const bool complete = found.hdmi != nullptr && found.external != nullptr && found.speaker != nullptr &&
                          found.calibration != nullptr && found.center != nullptr &&
                          found.virtualizer != nullptr && found.mic != nullptr;
    if (!complete) {
        fprintf(stderr, "soak_client: not all services are registered\n");
        return 3;
    }
    services = &found;
    for (;;) act();
}
