// SPDX-License-Identifier: Apache-2.0
#include <string.h>
#include <sys/stat.h>

#include <cmath>
#include <random>

#include "fixture.h"

namespace hidlaudio::test {
namespace {

using Files = Calibration;

std::string bytesOf(const std::vector<float>& numbers) {
    return {reinterpret_cast<const char*>(numbers.data()), numbers.size() * sizeof(float)};
}

/** Returns the bytes of a channel in the file. */
std::string recordOf(const std::string& name, float level, float delay, std::vector<float> gains = {}) {
    gains.resize(31);
    return name + std::string(8 - name.size(), '\0') + bytesOf({level, delay}) + bytesOf(gains);
}

const std::string kMarker = "\1\0\0\0"s;
const std::string kEnd(4, '\0');

TEST_F(Files, ChannelsAreStoredByteForByte) {
    inOwnProcess([&] {
        const sp<IAcousticCalibration> service = started();
        std::vector<float> gains(40, 1.5F);
        gains[0] = -9.0F;
        EXPECT_EQ(service->setCalibratedData({channel("FL", gains, 9, 10), channel("FRONT", {0.5F}, -9, 0)}),
                  0);
        gains.resize(31);
        const std::string first = recordOf("FL", 9, 10, gains), second = recordOf("FRON", -9, 0, {0.5F});
        EXPECT_EQ(contentOf(data_), first + second + kMarker + kEnd);
        struct stat status{};
        ASSERT_EQ(stat(data_.c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777, 0600U);

        const auto data = stored(service);
        ASSERT_EQ(data.size(), 2U);
        EXPECT_EQ(data[1].channel, "FRON");
        EXPECT_EQ(data[0].equalizer[30], (V3_0::bandEqualizer{"Parametric", 0, 0, 1.5F}));
        EXPECT_EQ(data[1].equalizer[1].gain, 0.0F);
        EXPECT_EQ(data[0].equalizer.size(), 31U);
        EXPECT_EQ(data[0].delay, 10.0F);
        EXPECT_EQ(data[1].level, -9.0F);

        EXPECT_EQ(service->setCalibratedData({channel("F\0L"s, {}), channel("", {}), channel("FR", {})}), 0);
        EXPECT_EQ(contentOf(data_),
                  recordOf("F", 0, 0) + recordOf("", 0, 0) + recordOf("FR", 0, 0) + kMarker + kEnd);
        EXPECT_EQ(service->setCalibratedData({}), 0);
        EXPECT_EQ(contentOf(data_), kMarker + kEnd);
        EXPECT_THAT(stored(service), IsEmpty());
        EXPECT_EQ(takeBlocks(), "") << "storing does not apply the data";
    });
}

TEST_F(Files, OutOfRangeDataIsNotStored) {
    inOwnProcess([&] {
        const sp<IAcousticCalibration> service = started();
        EXPECT_EQ(service->setCalibratedData({channel("FL", {9, -9}, -9, 0)}), 0);
        const std::string before = contentOf(data_);
        std::vector<float> lastOf40(40);
        lastOf40.back() = -9.01F;
        const float bad = NAN, infinite = INFINITY;
        for (const calibratedData& entry :
             {channel("FL", {}, 9.01F), channel("FL", {}, -9.01F), channel("", {}, 0, -0.01F),
              channel("", {}, 0, 10.01F), channel("", {9.01F}), channel("", lastOf40), channel("", {}, bad),
              channel("", {}, 0, infinite), channel("", {bad})}) {
            EXPECT_EQ(service->setCalibratedData({channel("FR", {}), entry, channel("C", {})}), -1);
            EXPECT_EQ(contentOf(data_), before);
        }
    });
}

TEST_F(Files, ReadingStopsAtTenthItem) {
    inOwnProcess([&] {
        const sp<IAcousticCalibration> service = started();
        const auto read = [&](const std::string& content) {
            makeFile(data_, content);
            std::string text;
            for (const auto& each : stored(service)) {
                text += each.channel.c_str() + (" " + std::to_string(int(each.delay))) + " ";
            }
            return text;
        };
        const std::string fl = recordOf("FL", 0, 5), rest = recordOf("C", 0, 3);
        const std::string nine = "FL 5 " + repeat("C 3 ", 8), nineWithout = "FL 0 " + repeat("C 0 ", 8);
        for (const auto& [content, expected] : {std::pair(fl + rest + kMarker + kEnd, "FL 5 C 3 "s),
                                                {kMarker + fl + kEnd, "FL 5 "},
                                                {fl + kMarker + rest + kMarker + kEnd, "FL 5 C 3 "},
                                                {fl + kEnd, "FL 0 "},
                                                {fl + recordOf("", 0, 0) + rest + kMarker + kEnd, "FL 0 "},
                                                {"LOUDxxxx" + fl.substr(8) + kMarker + kEnd, "LOUD 5 "},
                                                {fl + repeat(rest, 8) + kMarker + kEnd, nine},
                                                {fl + repeat(rest, 9) + kMarker + kEnd, nineWithout},
                                                {fl + repeat(rest, 30), nineWithout},
                                                {repeat(kMarker, 10), ""},
                                                {kMarker + kMarker.substr(0, 1), ""},
                                                {kMarker.substr(0, 1), ""},
                                                {fl, ""}}) {
            EXPECT_EQ(read(content), expected) << content.size();
        }
        host::clearFaults();
        EXPECT_EQ(read(std::string(4 << 20, 'A')), repeat("AAAA 0 ", 9));
        EXPECT_EQ(host::countedCalls("fread"), 20U);
    });
}

TEST_F(Files, DamagedFileAppliesNothing) {
    inOwnProcess([&] {
        const sp<FakeHal> hal = FakeHal::start();
        const sp<IAcousticCalibration> service = started();
        makeFile(flag_, "\1");
        const std::string whole =
            recordOf("FL", 2, 1) + recordOf("FR", 0, 1) + kMarker + kEnd + std::string(12, '?');
        for (size_t length = 0; length <= whole.size(); ++length) {
            makeFile(data_, whole.substr(0, length));
            const bool readable = length > 284;
            EXPECT_EQ(stored(service).size(), readable ? 2U : 0U) << length;
            hal->device->take();
            takeBlocks();
            EXPECT_EQ(service->setEnabled(true), readable ? 0 : -1) << length;
            EXPECT_EQ(takeBlocks() != "", readable) << length;
            EXPECT_THAT(hal->device->take(),
                        ElementsAre(readable ? "ac_offset=2.000000" : "ac_offset=0.000000"));
        }
        EXPECT_EQ(contentOf(flag_), "\1");
    });
}

TEST_F(Files, RandomBytesDoNoHarm) {
    inOwnProcess([&] {
        std::mt19937 random(7);  // NOLINT: a fixed seed gives the same bytes in each run
        std::vector<sp<IAcousticCalibration>> services{started(false)};
        const float numbers[] = {NAN, INFINITY, -INFINITY, 3e38F, 2147483648.0F, -2147483904.0F, 1e6F};
        for (int round = 0; round < 120; ++round) {
            std::string bytes(random() % 1600, '\0');
            for (char& byte : bytes) byte = static_cast<char>(random());
            const float number = numbers[random() % std::size(numbers)];
            const std::string front = recordOf("FL", number, number, std::vector<float>(31, number));
            makeFile(data_, round % 2 == 0 ? bytes : front + kMarker + bytes);
            if (round == 60) services.push_back(started());
            EXPECT_LE(stored(services.back()).size(), 9U);
            EXPECT_TRUE(services.back()->setEnabled(true).isOk());
        }
    });
}

TEST_F(Files, SwitchIsReadAtEachCall) {
    inOwnProcess([&] {
        const sp<IAcousticCalibration> service = started();
        for (const auto& [content, enabled] :
             {std::pair("\1"s, true), {"\1\0"s, true}, {"\0"s, false}, {"\2"s, false}, {"\xFF"s, false}}) {
            makeFile(flag_, content);
            EXPECT_EQ(service->getEnabled(), enabled);
        }
        makeFile(flag_, "");
        EXPECT_FALSE(service->getEnabled());
        std::filesystem::remove(flag_);
        EXPECT_FALSE(service->getEnabled());
        EXPECT_FALSE(std::filesystem::exists(flag_)) << "the file is created only at start";
    });
}

}  // namespace
}  // namespace hidlaudio::test
