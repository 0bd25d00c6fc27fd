// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>

#include <functional>
#include <utility>

#include "hdmi_audio/HdmiAudio.h"
#include "host/kernel/clock/clock.h"
#include "host/kernel/log.h"
#include "tests/support/private_tv.h"

namespace hidlaudio::test {
namespace {

using namespace com::tovi::dtv::hardware::audio;
using android::sp;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using testing::ElementsAre;
using Names = std::vector<std::string>;

struct Callback : V1_1::IHdmiAudioCallback {
    android::hardware::Return<void> onCapabilityChanged(const hidl_vec<hidl_string>& names) override {
        changes.emplace_back(names.begin(), names.end());
        if (inside) std::exchange(inside, nullptr)();
        return android::hardware::Void();
    }
    std::vector<Names> changes;
    std::function<void()> inside;  // called once, inside the next callback
};

/** Returns the expected changes: one callback with `notified`, or none if `notified` is empty. */
std::vector<Names> oneCall(const Names& notified) {
    if (notified.empty()) return {};
    return {notified};
}

class HdmiAudio : public testing::Test {
  protected:
    HdmiAudio() {
        makeFile(tv_ / "data/vendor/tmp/dtv_svc_is_ready");
        store("1", "1", "3");
        service_ = new V3_1::implementation::HdmiAudio;
    }

    void store(const char* arcDd, const char* earcDd, const char* arcMp4) {
        makeFile(arcDd_, arcDd);
        makeFile(earcDd_, earcDd);
        makeFile(arcMp4_, arcMp4);
    }

    void fail(const std::string& function, const std::string& fault) {
        makeFile(tv_ / ("soc/faults/" + function), fault);
    }

    Names get() {
        Names result;
        const auto called = service_->getAudioCapabilities(
            [&](const hidl_vec<hidl_string>& names) { result.assign(names.begin(), names.end()); });
        EXPECT_TRUE(called.isOk());
        return result;
    }

    int32_t set(const Names& names) {
        return service_->setAudioCapabilities(std::vector<hidl_string>(names.begin(), names.end()));
    }

    PrivateTv tv_{"soc/config", "soc/faults"};
    const host::LogCapture log_;
    const std::string arcDd_ = tv_ / "soc/config/g_audio__arc_dd_plus_capab";
    const std::string earcDd_ = tv_ / "soc/config/g_audio__earc_ddp_cap";
    const std::string arcMp4_ = tv_ / "soc/config/g_audio__arc_mpeg4_aac_lc_capab";
    sp<V3_1::implementation::HdmiAudio> service_;
};

TEST_F(HdmiAudio, ReadsLevelsOfTv) {
    EXPECT_THAT(get(), ElementsAre("ARC_DD_PLUS", "EARC_DD_PLUS", "ARC_MP4AAC_22_2"));
    store("0", "0", "0");
    EXPECT_THAT(get(), ElementsAre("ARC_DD_NONE", "EARC_DD_NONE", "ARC_MP4AAC_NONE"));
    store("2", "2", "1");
    EXPECT_THAT(get(), ElementsAre("ARC_DD_ATMOS", "EARC_DD_ATMOS", "ARC_MP4AAC_5_1"));
    store("-1", "2147483647", "2");
    EXPECT_THAT(get(), ElementsAre("NONE", "NONE", "ARC_MP4AAC_7_1"));
    store("3", "3", "4");
    EXPECT_THAT(get(), ElementsAre("NONE", "NONE", "NONE"));
}

TEST_F(HdmiAudio, FailedReadDoesNotAffectOtherLevels) {
    const Names all = get();
    const std::string* const files[] = {&arcDd_, &earcDd_, &arcMp4_};
    for (size_t i = 0; i < 3; ++i) {
        const std::string content = contentOf(*files[i]);
        std::filesystem::remove(*files[i]);
        Names expected = all;
        expected[i] = "NONE";
        EXPECT_EQ(get(), expected);
        makeFile(*files[i], content);
    }
    fail("a_mtktvapi_config_get_value", "5 1");
    EXPECT_EQ(get(), (Names{"NONE", all[1], all[2]}));
    fail("a_mtktvapi_config_get_value", "-2147483648");
    EXPECT_THAT(get(), ElementsAre("NONE", "NONE", "NONE"));
}

TEST_F(HdmiAudio, SetsHighestNamedLevel) {
    const sp<Callback> callback = new Callback;
    EXPECT_TRUE(service_->setCallback(callback).isOk());
    const struct {
        Names request;
        int32_t result;
        Names levels;    // ARC Dolby and MPEG-4 afterwards
        Names notified;  // names in the callback; empty if it is not called
    } cases[] = {
        {{"ARC_DD_ATMOS", "ARC_DD_PLUS"}, 0, {"2\n", "-"}, {"ARC_DD_ATMOS", "ARC_DD_PLUS"}},
        {{"ARC_DD_NONE", "", "ARC_DD_PLUS"}, 0, {"1\n", "-"}, {"ARC_DD_NONE", "ARC_DD_PLUS"}},
        {{"ARC_DD_X", "ARC_DD_PLUS"}, 0, {"1\n", "-"}, {"ARC_DD_X", "ARC_DD_PLUS"}},
        {{"ARC_MP4AAC_7_1", "ARC_DD_NONE"}, 0, {"0\n", "2\n"}, {"ARC_MP4AAC_7_1", "ARC_DD_NONE"}},
        {{"", "ARC_MP4AAC_5_1"}, 0, {"-", "1\n"}, {"ARC_MP4AAC_5_1"}},
        {{"NONE", "ARC_MP4AAC_22_2", "EARC_DD_PLUS"}, 0, {"-", "3\n"}, {"ARC_MP4AAC_22_2"}},
        {{"ARC_DD_PLUS", "ARC_MP4AAC_"}, 0, {"1\n", "-"}, {"ARC_DD_PLUS"}},
        {{"ARC_MP4AAC_", "ARC_DD_PLUS"}, 0, {"1\n", "-"}, {"ARC_DD_PLUS"}},
        {{"ARC_DD_X"}, -1, {"-", "-"}, {}},
        {{"ARC_DD_"}, -1, {"-", "-"}, {}},
        {{"ARC_DD_PLUS "}, -1, {"-", "-"}, {}},
        {{std::string("ARC_DD_PLUS\0", 12)}, -1, {"-", "-"}, {}},
        {{"ARC_DD", "arc_dd_plus", " ARC_DD_PLUS", "ARC_MP4AAC"}, -1, {"-", "-"}, {}},
        {{"EARC_DD_PLUS"}, -1, {"-", "-"}, {}},
        {{"NONE"}, -1, {"-", "-"}, {}},
        {{"", ""}, -1, {"-", "-"}, {}},
        {{}, -1, {"-", "-"}, {}},
    };
    for (const auto& known : cases) {
        SCOPED_TRACE(testing::PrintToString(known.request));
        callback->changes.clear();
        store("-", "-", "-");
        EXPECT_EQ(set(known.request), known.result);
        EXPECT_EQ(Names({contentOf(arcDd_), contentOf(arcMp4_)}), known.levels);
        EXPECT_EQ(contentOf(earcDd_), "-");
        EXPECT_EQ(callback->changes, oneCall(known.notified));
    }
}

TEST_F(HdmiAudio, ReturnsStatusOfLastWriteUnlessOneSucceeded) {
    const sp<Callback> callback = new Callback;
    EXPECT_TRUE(service_->setCallback(callback).isOk());
    const struct {
        const char* fault;
        Names request;
        int32_t result;
        Names notified;
    } cases[] = {
        {"-7", {"ARC_DD_PLUS"}, -7, {}},
        {"7", {"ARC_DD_PLUS", "ARC_MP4AAC_5_1", "NONE", ""}, 7, {}},
        {"7 1", {"ARC_DD_PLUS", "ARC_MP4AAC_X"}, -1, {}},
        {"7 1", {"ARC_MP4AAC_X", "ARC_DD_PLUS"}, 7, {}},
        {"7 1", {"ARC_DD_PLUS", "ARC_MP4AAC_5_1"}, 0, {"ARC_MP4AAC_5_1"}},
        {"7 1", {"ARC_MP4AAC_5_1", "ARC_DD_PLUS"}, 0, {"ARC_DD_PLUS"}},
        {"7 1", {"ARC_DD_PLUS", "ARC_DD_X"}, 0, {"ARC_DD_X"}},
    };
    for (const auto& known : cases) {
        SCOPED_TRACE(testing::PrintToString(known.request));
        callback->changes.clear();
        fail("a_mtktvapi_config_set_value", known.fault);
        EXPECT_EQ(set(known.request), known.result);
        EXPECT_EQ(callback->changes, oneCall(known.notified));
    }
    std::filesystem::remove(tv_ / "soc/faults/a_mtktvapi_config_set_value");
    for (const std::string& file : {arcDd_, arcMp4_}) {
        std::filesystem::remove(file);
        std::filesystem::create_directory(file);
        callback->changes.clear();
        EXPECT_EQ(set({"ARC_DD_PLUS", "ARC_MP4AAC_5_1"}), 0)
            << "a failure in one group does not undo the other";
        EXPECT_THAT(callback->changes,
                    ElementsAre(ElementsAre(file == arcDd_ ? "ARC_MP4AAC_5_1" : "ARC_DD_PLUS")));
        std::filesystem::remove(file);
    }
}

TEST_F(HdmiAudio, KeepsCallbacksUntilTheirClientDies) {
    const sp<Callback> first = new Callback;
    const sp<Callback> second = new Callback;
    for (const sp<Callback>& callback : {first, second, first}) {
        EXPECT_TRUE(service_->setCallback(callback).isOk());
    }
    // A registration inside a callback takes effect at the next change.
    first->inside = [&] { EXPECT_TRUE(service_->setCallback(first).isOk()); };
    EXPECT_EQ(set({"ARC_DD_PLUS"}), 0);
    EXPECT_EQ(first->changes.size(), 2U);
    EXPECT_EQ(second->changes.size(), 1U);

    android::wp<Callback> gone;
    gone = sp<Callback>(new Callback);
    service_->serviceDied(0, gone);  // the object is already destroyed
    service_->serviceDied(7, first);
    service_->serviceDied(0, first);
    EXPECT_EQ(set({"ARC_DD_PLUS"}), 0);
    EXPECT_EQ(first->changes.size(), 2U);
    EXPECT_EQ(second->changes.size(), 2U);
    EXPECT_EQ(first->getStrongCount(), 1);
}

TEST_F(HdmiAudio, ServesAClientFromInsideItsCallback) {
    const sp<Callback> caller = new Callback;
    const sp<Callback> dying = new Callback;
    for (const auto& callback : {caller, dying}) EXPECT_TRUE(service_->setCallback(callback).isOk());
    caller->inside = [&] {
        EXPECT_EQ(set({"ARC_DD_ATMOS"}), 0);
        EXPECT_EQ(get()[0], "ARC_DD_ATMOS");
        service_->serviceDied(0, dying);  // another thread may deliver the death notice now
    };
    EXPECT_EQ(set({"ARC_DD_PLUS"}), 0);
    EXPECT_THAT(caller->changes, ElementsAre(Names{"ARC_DD_PLUS"}, Names{"ARC_DD_ATMOS"}));
    EXPECT_THAT(dying->changes, ElementsAre(Names{"ARC_DD_ATMOS"}, Names{"ARC_DD_PLUS"}));
    EXPECT_EQ(set({"ARC_DD_NONE"}), 0);
    EXPECT_EQ(dying->changes.size(), 2U);
}

TEST_F(HdmiAudio, ContinuesWithoutPlatformServiceOrMiddleware) {
    std::filesystem::remove(tv_ / "data/vendor/tmp/dtv_svc_is_ready");
    fail("MTAL_InitExCb", "-3");
    const host::SteppedClock clock;
    service_ = new V3_1::implementation::HdmiAudio;
    EXPECT_EQ(clock.sleeps(), std::vector<host::SteppedClock::Time>(200, std::chrono::milliseconds(100)));
    EXPECT_THAT(get(), ElementsAre("ARC_DD_PLUS", "EARC_DD_PLUS", "ARC_MP4AAC_22_2"));
}

}  // namespace
}  // namespace hidlaudio::test
