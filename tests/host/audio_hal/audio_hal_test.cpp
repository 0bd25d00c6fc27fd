// SPDX-License-Identifier: Apache-2.0
#include <android/hardware/audio/5.0/IDevicesFactory.h>
#include <gmock/gmock.h>
#include <hidl/HidlTransportSupport.h>

#include "tests/support/becomes_true.h"
#include "tests/support/run_program.h"

namespace hidlaudio::test {
namespace {

using namespace android::hardware::audio::V5_0;
using android::sp;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class AudioHal : public testing::Test {
  protected:
    void SetUp() override { ASSERT_NE(factory_, nullptr) << process_.err(); }

    /** Returns the device and the HAL's Result. */
    std::pair<sp<IPrimaryDevice>, Result> open() {
        std::pair<sp<IPrimaryDevice>, Result> opened{nullptr, Result::NOT_INITIALIZED};
        EXPECT_TRUE(
            factory_->openPrimaryDevice([&](Result result, const auto& device) { opened = {device, result}; })
                .isOk());
        return opened;
    }

    Result set(const hidl_vec<ParameterValue>& parameters, const hidl_vec<ParameterValue>& context = {}) {
        return open().first->setParameters(context, parameters);
    }

    /** Returns "key=value" for each parameter that exists. */
    std::vector<std::string> get(const hidl_vec<hidl_string>& keys, Result expected = Result::OK,
                                 const hidl_vec<ParameterValue>& context = {}) {
        std::vector<std::string> found;
        EXPECT_TRUE(open()
                        .first
                        ->getParameters(context, keys,
                                        [&](Result result, const auto& parameters) {
                                            EXPECT_EQ(result, expected);
                                            for (const auto& [key, value] : parameters)
                                                found.push_back(std::string(key) + "=" + value.c_str());
                                        })
                        .isOk());
        return found;
    }

    std::string file(const std::string& key) { return tv_ / "hal/parameters/" + key; }

    PrivateTv tv_{"run/hwbinder", "hal/parameters", "hal/faults"};
    RunningProgram process_{{AUDIO_HAL}};
    sp<IDevicesFactory> factory_ = awaitService<IDevicesFactory>();
};

TEST_F(AudioHal, StoresParametersInFiles) {
    EXPECT_EQ(set({{"tv_position", "wall_mount"}, {"lines", "a\nb\n"}, {"tv_position", "table_top"}}),
              Result::OK);
    EXPECT_EQ(contentOf(file("tv_position")), "table_top\n");
    makeFile(file("by_hand"), "0.25");
    EXPECT_THAT(get({"lines", "nosuch", "by_hand", "../parameters/by_hand", ""}),
                ElementsAre("lines=a\nb\n", "by_hand=0.25"));
    EXPECT_THAT(process_.err(), HasSubstr(" I AudioHal: setParameters tv_position=wall_mount\n"));
}

TEST_F(AudioHal, RefusesInvalidParameters) {
    const std::string longest(65535, 'x');
    EXPECT_EQ(set({{"longest", longest}}), Result::OK);
    EXPECT_THAT(get({"longest"}), ElementsAre("longest=" + longest));
    for (const auto& wrong : {ParameterValue{"../escaped", "1"},
                              {"", "1"},
                              {".hidden", "1"},
                              {"a/b", "1"},
                              {"long", longest + "x"}}) {
        EXPECT_EQ(set({{"good", "1"}, wrong}), Result::INVALID_ARGUMENTS) << wrong.key.c_str();
    }
    EXPECT_EQ(set({{"good", "1"}}, {{"context", "1"}}), Result::NOT_SUPPORTED);
    EXPECT_EQ(contentOf(file("good")), "(none)");
    EXPECT_THAT(get({"longest"}, Result::NOT_SUPPORTED, {{"context", "1"}}), IsEmpty());

    std::filesystem::create_directory(file("folder"));
    EXPECT_EQ(set({{"folder", "1"}}), Result::INVALID_STATE);
    EXPECT_THAT(get({"longest", "folder"}, Result::INVALID_STATE), IsEmpty());
}

TEST_F(AudioHal, ReturnsInjectedResults) {
    makeFile(tv_ / "hal/faults/openPrimaryDevice", "4 1\n");
    EXPECT_EQ(open(), (std::pair<sp<IPrimaryDevice>, Result>{nullptr, Result::NOT_SUPPORTED}));
    EXPECT_TRUE(android::hardware::interfacesEqual(open().first, open().first));

    const std::pair<const char*, Result> faults[] = {
        {"1\n", Result::NOT_INITIALIZED}, {"5\n", Result::INVALID_STATE}, {"soon\n", Result::INVALID_STATE}};
    makeFile(file("key"), "old\n");
    for (const auto& [text, result] : faults) {
        for (const char* operation : {"setParameters", "getParameters"})
            makeFile(tv_ / "hal/faults/" + operation, text);
        EXPECT_EQ(set({{"key", "new"}}), result) << text;
        EXPECT_THAT(get({"key"}, result), IsEmpty());
    }
    EXPECT_EQ(contentOf(file("key")), "old\n");
    std::filesystem::remove(tv_ / "hal/faults/getParameters");
    EXPECT_THAT(get({"key"}), ElementsAre("key=old"));
}

}  // namespace
}  // namespace hidlaudio::test
