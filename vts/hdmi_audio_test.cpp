// SPDX-License-Identifier: Apache-2.0
#include <com/tovi/dtv/hardware/audio/3.1/IHdmiAudio.h>

#include <atomic>
#include <functional>
#include <thread>

#include "support/client_process.h"
#include "support/events.h"
#include "support/options.h"
#include "support/services.h"

namespace tovi_audio_vts {
namespace {

using namespace ::com::tovi::dtv::hardware::audio;

const Names kArcDolby = {"ARC_DD_NONE", "ARC_DD_PLUS", "ARC_DD_ATMOS"};
const Names kEarcDolby = {"EARC_DD_NONE", "EARC_DD_PLUS", "EARC_DD_ATMOS"};
const Names kArcAac = {"ARC_MP4AAC_NONE", "ARC_MP4AAC_5_1", "ARC_MP4AAC_7_1", "ARC_MP4AAC_22_2"};
enum Group { kDolby, kEarc, kAac };

bool contains(const Names& names, const std::string& name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

struct CapabilityCallback : V1_1::IHdmiAudioCallback {
    Return<void> onCapabilityChanged(const hidl_vec<hidl_string>& names) override {
        changes.add(toNames(names));
        threads.add(std::this_thread::get_id());
        // Only once, because a change from inside calls this again.
        if (const auto once = std::exchange(inside, nullptr)) once();
        return Void();
    }
    Events<Names> changes;
    Events<std::thread::id> threads;
    std::function<void()> inside;
};

class HdmiAudio : public ::testing::TestWithParam<Instance<V1_0::IHdmiAudio>> {
  protected:
    void SetUp() override {
        service_ = GetParam().get(GetParam().name);
        ASSERT_NE(service_, nullptr);
        before_ = levels();
        ASSERT_EQ(before_.size(), 3u);
    }
    void TearDown() override {
        if (service_ == nullptr || before_.size() != 3) return;
        for (const Group group : {kDolby, kAac}) {
            if (before_[group] != "NONE") {
                EXPECT_EQ(set({before_[group]}), 0);
            }
        }
    }

    Names levels() const {
        return namesOf([&](auto callback) { return service_->getAudioCapabilities(callback); });
    }
    int32_t set(const Names& names) const { return valueOf(service_->setAudioCapabilities(toHidl(names))); }
    /** Sets both groups to their first level. */
    void reset() const { EXPECT_EQ(set({kArcDolby[0], kArcAac[0]}), 0); }
    /** Returns the service under the version with callbacks. */
    sp<V1_1::IHdmiAudio> withCallbacks() const {
        const Return<sp<V1_1::IHdmiAudio>> newer = V1_1::IHdmiAudio::castFrom(service_);
        return newer.isOk() ? sp<V1_1::IHdmiAudio>(newer) : nullptr;
    }
    /** Registers a new callback. */
    sp<CapabilityCallback> listen() const {
        const sp<CapabilityCallback> callback = new CapabilityCallback;
        const sp<V1_1::IHdmiAudio> service = withCallbacks();
        EXPECT_NE(service, nullptr) << "the service is older than version 1.1";
        if (service != nullptr) expectOk(service->setCallback(callback));
        return callback;
    }

    sp<V1_0::IHdmiAudio> service_;
    Names before_;
};

TEST_P(HdmiAudio, getAudioCapabilities_ReturnsOneLevelPerGroup) {
    const Names read = levels();
    EXPECT_TRUE(read[kDolby] == "NONE" || contains(kArcDolby, read[kDolby])) << read[kDolby];
    EXPECT_TRUE(read[kEarc] == "NONE" || contains(kEarcDolby, read[kEarc])) << read[kEarc];
    EXPECT_TRUE(read[kAac] == "NONE" || contains(kArcAac, read[kAac])) << read[kAac];
}

TEST_P(HdmiAudio, setAudioCapabilities_SetsEachLevel) {
    reset();
    for (const std::string& dolby : kArcDolby) {
        EXPECT_EQ(set({dolby}), 0) << dolby;
        EXPECT_EQ(levels(), Names({dolby, before_[kEarc], kArcAac[0]}));
    }
    for (const std::string& aac : kArcAac) {
        EXPECT_EQ(set({aac}), 0) << aac;
        EXPECT_EQ(levels(), Names({kArcDolby.back(), before_[kEarc], aac}));
    }
}

struct Request {
    Names names;
    int32_t result;
    std::string dolby, aac;  // the levels afterwards; empty: unchanged
    Names reported;          // to callbacks; empty: no callback
};

const Request kRequests[] = {
    // The highest level that any entry names wins, in any order.
    {{"ARC_DD_ATMOS", "ARC_DD_PLUS"}, 0, "ARC_DD_ATMOS", "", {"ARC_DD_ATMOS", "ARC_DD_PLUS"}},
    {{"ARC_DD_PLUS", "ARC_DD_ATMOS"}, 0, "ARC_DD_ATMOS", "", {"ARC_DD_PLUS", "ARC_DD_ATMOS"}},
    {{"ARC_MP4AAC_7_1", "ARC_DD_PLUS", "ARC_MP4AAC_5_1"},
     0,
     "ARC_DD_PLUS",
     "ARC_MP4AAC_7_1",
     {"ARC_MP4AAC_7_1", "ARC_DD_PLUS", "ARC_MP4AAC_5_1"}},
    // Entries of a group that was set are reported as requested, repeated and unknown ones included.
    {{"ARC_DD_PLUS", "ARC_DD_PLUS"}, 0, "ARC_DD_PLUS", "", {"ARC_DD_PLUS", "ARC_DD_PLUS"}},
    {{"ARC_DD_UNKNOWN", "ARC_DD_PLUS"}, 0, "ARC_DD_PLUS", "", {"ARC_DD_UNKNOWN", "ARC_DD_PLUS"}},
    // One group is set, the other one has no valid name.
    {{"ARC_DD_PLUS", "ARC_MP4AAC_9_9"}, 0, "ARC_DD_PLUS", "", {"ARC_DD_PLUS"}},
    {{"ARC_MP4AAC_9_9", "ARC_DD_PLUS"}, 0, "ARC_DD_PLUS", "", {"ARC_DD_PLUS"}},
    // Entries of no group are ignored.
    {{"", "ARC_MP4AAC_5_1"}, 0, "", "ARC_MP4AAC_5_1", {"ARC_MP4AAC_5_1"}},
    {{"NONE", "EARC_DD_NONE", "arc_dd_plus", "ARC_MP4AAC_22_2"},
     0,
     "",
     "ARC_MP4AAC_22_2",
     {"ARC_MP4AAC_22_2"}},
    // Nothing can be set.
    {{}, -1, "", "", {}},
    {{""}, -1, "", "", {}},
    {{"NONE"}, -1, "", "", {}},
    {{"EARC_DD_PLUS"}, -1, "", "", {}},
    {{"ARC_DD_"}, -1, "", "", {}},
    {{"ARC_DD"}, -1, "", "", {}},
    {{"arc_dd_plus"}, -1, "", "", {}},
    {{" ARC_DD_PLUS"}, -1, "", "", {}},
    {{"ARC_DD_PLUS "}, -1, "", "", {}},
    {{"ARC_DD_5_1", "ARC_MP4AAC_PLUS"}, -1, "", "", {}},
};

TEST_P(HdmiAudio, setAudioCapabilities_FollowsItsRules) {
    for (const Request& request : kRequests) {
        SCOPED_TRACE(::testing::PrintToString(request.names));
        reset();
        EXPECT_EQ(set(request.names), request.result);
        EXPECT_EQ(levels(), Names({request.dolby.empty() ? kArcDolby[0] : request.dolby, before_[kEarc],
                                   request.aac.empty() ? kArcAac[0] : request.aac}));
    }
}

TEST_P(HdmiAudio, setAudioCapabilities_AcceptsLongRequests) {
    reset();
    Names names(50, "ARC_MP4AAC_5_1");
    names.emplace_back(1000, 'X');
    EXPECT_EQ(set(names), 0);
    EXPECT_EQ(levels()[kAac], "ARC_MP4AAC_5_1");
}

TEST_P(HdmiAudio, setCallback_CallbackReceivesEntriesThatWereSet) {
    const sp<CapabilityCallback> callback = listen();
    for (const Request& request : kRequests) {
        SCOPED_TRACE(::testing::PrintToString(request.names));
        set(request.names);
        // The service calls the callbacks before it answers, and waits for them.
        ASSERT_EQ(callback->changes.count(), request.reported.empty() ? 0u : 1u);
        if (!request.reported.empty()) {
            EXPECT_EQ(callback->changes.next(), request.reported);
        }
    }
}

TEST_P(HdmiAudio, setCallback_CallbackArrivesOnWaitingThread) {
    const sp<CapabilityCallback> callback = listen();
    reset();
    EXPECT_EQ(callback->threads.next(), std::this_thread::get_id());
}

TEST_P(HdmiAudio, setCallback_CallbacksAreCalledInOrderOncePerRegistration) {
    std::vector<char> order;
    const auto record = [&](const sp<CapabilityCallback>& callback, char name) {
        callback->inside = [&order, name] { order.push_back(name); };
    };
    const sp<CapabilityCallback> first = listen();
    const sp<CapabilityCallback> second = listen();
    record(first, '1');
    record(second, '2');
    reset();
    EXPECT_EQ(order, (std::vector<char>{'1', '2'}));
    expectOk(withCallbacks()->setCallback(first));
    reset();
    EXPECT_EQ(first->changes.count(), 3u);
    EXPECT_EQ(second->changes.count(), 2u);
}

TEST_P(HdmiAudio, setCallback_IgnoresNull) {
    expectOk(withCallbacks()->setCallback(nullptr));
    const sp<CapabilityCallback> callback = listen();
    reset();
    EXPECT_EQ(callback->changes.count(), 1u);
}

TEST_P(HdmiAudio, onCapabilityChanged_MayCallAllServices) {
    const sp<CapabilityCallback> callback = listen();
    Names inside;
    callback->inside = [&] {
        inside = levels();
        callAllServices();
    };
    EXPECT_EQ(set({"ARC_DD_ATMOS"}), 0);
    ASSERT_FALSE(inside.empty());
    EXPECT_EQ(inside[kDolby], "ARC_DD_ATMOS");
}

TEST_P(HdmiAudio, onCapabilityChanged_ChangeFromInsideCallsAllAgain) {
    const sp<CapabilityCallback> first = listen();
    const sp<CapabilityCallback> second = listen();
    second->inside = [&] { EXPECT_EQ(set({"ARC_MP4AAC_5_1"}), 0); };
    EXPECT_EQ(set({"ARC_DD_PLUS"}), 0);
    EXPECT_EQ(first->changes.count(), 2u);
    ASSERT_EQ(second->changes.count(), 2u);
    EXPECT_EQ(second->changes.next(), Names{"ARC_DD_PLUS"});
    EXPECT_EQ(second->changes.next(), Names{"ARC_MP4AAC_5_1"});
}

TEST_P(HdmiAudio, onCapabilityChanged_CallbackRegisteredInsideIsCalledFromNextChangeOn) {
    const sp<CapabilityCallback> callback = listen();
    sp<CapabilityCallback> added;
    callback->inside = [&] { added = listen(); };
    reset();
    ASSERT_NE(added, nullptr);
    EXPECT_EQ(added->changes.count(), 0u);
    reset();
    EXPECT_EQ(added->changes.count(), 1u);
}

TEST_P(HdmiAudio, onCapabilityChanged_OtherClientsWaitUntilItReturns) {
    const sp<CapabilityCallback> callback = listen();
    std::atomic<bool> ended{false};
    bool endedFirst = false;
    std::thread other;
    callback->inside = [&] {
        other = std::thread([&] {
            levels();
            endedFirst = ended;
        });
        usleep(200000);
        ended = true;
    };
    reset();
    ASSERT_TRUE(other.joinable());
    other.join();
    EXPECT_TRUE(endedFirst);
}

TEST_P(HdmiAudio, onCapabilityChanged_ReachesOtherProcessesUntilTheyDie) {
    const sp<CapabilityCallback> before = listen();
    ClientProcess client("hdmi", GetParam().name);
    const sp<CapabilityCallback> after = listen();
    EXPECT_EQ(set({"ARC_DD_PLUS"}), 0);
    EXPECT_EQ(client.nextLine(), "changed ARC_DD_PLUS");
    client.kill();
    // Some of these changes come before the notice of the client's death, and some after it.
    for (int i = 0; i < 4; ++i, usleep(50000)) EXPECT_EQ(set({"ARC_DD_NONE"}), 0);
    EXPECT_EQ(before->changes.count(), 5u);
    EXPECT_EQ(after->changes.count(), 5u);
}

TEST_P(HdmiAudio, Restart_KeepsLevelsAndDropsCallbacks) {
    SKIP_WITHOUT_RESTART();
    const sp<CapabilityCallback> callback = listen();
    EXPECT_EQ(set({"ARC_DD_ATMOS", "ARC_MP4AAC_7_1"}), 0);
    service_ = restart(GetParam(), service_);
    ASSERT_NE(service_, nullptr);
    EXPECT_EQ(levels(), Names({"ARC_DD_ATMOS", before_[kEarc], "ARC_MP4AAC_7_1"}));
    reset();
    EXPECT_EQ(callback->changes.count(), 1u);
}

INSTANTIATE(IHdmiAudio, HdmiAudio, V1_0::IHdmiAudio, V1_1::IHdmiAudio, V3_1::IHdmiAudio);

}  // namespace
}  // namespace tovi_audio_vts
