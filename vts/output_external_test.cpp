// SPDX-License-Identifier: Apache-2.0
#include <com/tovi/dtv/hardware/audio/3.1/IOutputEncodingStatusListener.h>
#include <com/tovi/dtv/hardware/audio/3.1/IOutputExternal.h>

#include <atomic>

#include "support/options.h"
#include "support/services.h"

namespace tovi_audio_vts {
namespace {

using namespace ::com::tovi::dtv::hardware::audio;

/** A listener of either version. The service must never call it. */
template <typename Interface>
struct Listener : Interface {
    Return<void> onForceEncodingChanged(bool) override { return ++calls, Void(); }
    Return<void> onEncodingFormatChanged(const hidl_string&) override { return ++calls, Void(); }
    std::atomic<int> calls{0};
};

class OutputExternal : public ::testing::TestWithParam<Instance<V2_0::IOutputExternal>> {
  protected:
    void SetUp() override {
        service_ = GetParam().get(GetParam().name);
        ASSERT_NE(service_, nullptr);
        before_ = valueOf(service_->getForceEncodingEnabled());
    }
    void TearDown() override {
        if (service_ != nullptr) {
            EXPECT_EQ(set(before_), 0);
        }
    }

    int32_t set(bool enable) const { return valueOf(service_->setForceEncodingEnabled(enable)); }
    bool get() const { return valueOf(service_->getForceEncodingEnabled()); }
    std::string format() const {
        return resultOf<hidl_string>([&](auto callback) { return service_->getEncodingFormat(callback); });
    }

    sp<V2_0::IOutputExternal> service_;
    bool before_ = false;
};

TEST_P(OutputExternal, setForceEncodingEnabled_SetsAndClears) {
    for (const bool enable : {false, true, true, false, false, true}) {
        EXPECT_EQ(set(enable), 0);
        EXPECT_EQ(get(), enable);
    }
}

TEST_P(OutputExternal, getForceEncodingEnabled_IsTheSameForAllVersions) {
    for (const bool enable : {true, false}) {
        EXPECT_EQ(set(enable), 0);
        for (const auto& instance : instancesOf<V2_0::IOutputExternal, V3_1::IOutputExternal>()) {
            const sp<V2_0::IOutputExternal> service = instance.get(instance.name);
            ASSERT_NE(service, nullptr);
            EXPECT_EQ(valueOf(service->getForceEncodingEnabled()), enable) << instance.version;
        }
    }
}

TEST_P(OutputExternal, setEncodingFormat_AcceptsAllFormatsWithoutEffect) {
    for (const std::string name : {"auto", "", "no format", "AUTO"}) {
        EXPECT_EQ(valueOf(service_->setEncodingFormat(name)), 0) << name;
        EXPECT_EQ(format(), "auto");
    }
}

TEST_P(OutputExternal, getEncodingFormat_IsAuto) {
    EXPECT_EQ(format(), "auto");
}

TEST_P(OutputExternal, getAvailableEncodingFormats_AreNone) {
    EXPECT_EQ(namesOf([&](auto callback) { return service_->getAvailableEncodingFormats(callback); }),
              Names());
}

TEST_P(OutputExternal, registerEncodingFormatListener_NeverCallsListener) {
    const sp<Listener<V2_0::IOutputEncodingStatusListener>> old =
        new Listener<V2_0::IOutputEncodingStatusListener>;
    const sp<Listener<V3_1::IOutputEncodingStatusListener>> young =
        new Listener<V3_1::IOutputEncodingStatusListener>;
    EXPECT_EQ(valueOf(service_->registerEncodingFormatListener(old)), 0);
    EXPECT_EQ(valueOf(service_->registerEncodingFormatListener(old)), 0);
    EXPECT_EQ(valueOf(service_->registerEncodingFormatListener(young)), 0);
    EXPECT_EQ(valueOf(service_->registerEncodingFormatListener(nullptr)), 0);
    EXPECT_EQ(set(!before_), 0);
    EXPECT_EQ(valueOf(service_->setEncodingFormat("other")), 0);
    EXPECT_EQ(old->calls, 0);
    EXPECT_EQ(young->calls, 0);
}

TEST_P(OutputExternal, unregisterEncodingFormatListener_AcceptsAll) {
    const sp<V2_0::IOutputEncodingStatusListener> listener =
        new Listener<V2_0::IOutputEncodingStatusListener>;
    EXPECT_EQ(valueOf(service_->unregisterEncodingFormatListener(listener)), 0);
    EXPECT_EQ(valueOf(service_->registerEncodingFormatListener(listener)), 0);
    EXPECT_EQ(valueOf(service_->unregisterEncodingFormatListener(listener)), 0);
    EXPECT_EQ(valueOf(service_->unregisterEncodingFormatListener(nullptr)), 0);
}

TEST_P(OutputExternal, Restart_KeepsForcedEncoding) {
    SKIP_WITHOUT_RESTART();
    for (const bool enable : {!before_, before_}) {
        EXPECT_EQ(set(enable), 0);
        service_ = restart(GetParam(), service_);
        ASSERT_NE(service_, nullptr);
        EXPECT_EQ(get(), enable);
    }
}

INSTANTIATE(IOutputExternal, OutputExternal, V2_0::IOutputExternal, V3_1::IOutputExternal);

}  // namespace
}  // namespace tovi_audio_vts
