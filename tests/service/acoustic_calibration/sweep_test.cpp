// SPDX-License-Identifier: Apache-2.0
#include <errno.h>

#include "fixture.h"

namespace hidlaudio::test {
namespace {

/** Outcome of a scenario with one failed call. The key is call and number. */
using Effects = std::map<std::string, std::string>;

class Sweep : public Calibration {
  protected:
    /**
     * Runs `scenario` repeatedly and makes one system call fail each time: with EIO, with EINTR, and with a
     * short read or write. Compares the outcome with `effects`; a call that is not listed there must not
     * change the outcome. EINTR has no effect on calls with descriptors, which are repeated, but makes the
     * stream functions of libc fail.
     */
    void sweep(const std::function<std::string()>& scenario, const Effects& effects) {
        const std::string baseline = scenario();
        std::set<std::string> met;
        for (const std::string call : host::kFaultableCalls) {
            const bool moves = call == "read" || call == "write" || call == "fread";
            for (const int error : {EIO, EINTR, 0}) {
                if (error == 0 && !moves) continue;
                for (unsigned n = 1;; ++n) {
                    const std::string key = call + " " + std::to_string(n);
                    SCOPED_TRACE(key + " errno " + std::to_string(error));
                    const auto before = openFiles();
                    const host::ScopedFault fault({call, n, error, false, 0});
                    const std::string outcome = scenario();
                    if (!fault.injected()) break;
                    met.insert(key);
                    const bool repeated = error == EINTR && call[0] != 'f' && call != "remove";
                    const auto effect = effects.find(key);
                    EXPECT_EQ(outcome, repeated || effect == effects.end() ? baseline : effect->second);
                    EXPECT_EQ(openFiles(), before);
                }
            }
        }
        for (const auto& effect : effects) EXPECT_TRUE(met.count(effect.first)) << effect.first;
    }

    static std::ptrdiff_t openFiles() {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
    }

    /** Returns the kind of block that was sent to the controller: "calibrated", "flat" or "nothing". */
    std::string takeSent() {
        const std::string blocks = takeBlocks();
        return blocks.empty() ? "nothing" : blocks == kFlatBlock ? "flat" : "calibrated";
    }

    std::string switchText() const {
        const std::string content = contentOf(flag_);
        return content == "\1" ? "on" : content == "\0"s ? "off" : content.empty() ? "empty" : content;
    }

    /** Runs `body` in a child process, on a service with a HAL and stored data. */
    void withService(const std::function<void(const sp<IAcousticCalibration>&, FakeDevice&)>& body) {
        inOwnProcess([&] {
            const sp<FakeHal> hal = FakeHal::start();
            const host::SteppedClock clock;
            const sp<IAcousticCalibration> service = started();
            EXPECT_EQ(service->setCalibratedData(kData), 0);
            body(service, *hal->device);
        });
    }

    const hidl_vec<calibratedData> kData{channel("FL", {1}, -3, 1), channel("FR", {})};
};

TEST_F(Sweep, FailingCallsWhileStoring) {
    withService([&](const sp<IAcousticCalibration>& service, FakeDevice&) {
        const auto scenario = [&] {
            makeFile(data_, "old");
            const int32_t result = service->setCalibratedData(kData);
            const std::string content = contentOf(data_);
            const bool kept = content == "old" || content == "(none)";
            return std::to_string(result) + " " + (kept ? content : std::to_string(content.size()));
        };
        EXPECT_EQ(scenario(), "0 288");
        sweep(scenario, {{"open 1", "-1 old"},
                         {"write 1", "-1 (none)"},
                         {"write 2", "-1 (none)"},
                         {"write 3", "0 284"},
                         {"write 4", "0 284"}});
        const host::ScopedFault shortWrite({"write", 2, 0, false, 139});
        EXPECT_EQ(scenario(), "-1 (none)");
        const host::ScopedFault noRoom({"write", 1, ENOSPC}), noRemoval({"remove", 1, EROFS});
        EXPECT_EQ(scenario(), "-1 0");
    });
}

/**
 * Returns the effects of failing calls while the data file is read. The file has two channels, the marker and
 * the end.
 */
Effects readingEffects(const std::string& effect) {
    Effects effects;
    for (const char* call : {"fopen 1", "fread 1", "fread 2", "fread 3", "fread 4", "fread 5", "fread 6",
                             "fseek 1", "fseek 2", "fseek 3"}) {
        effects[call] = effect;
    }
    return effects;
}

TEST_F(Sweep, FailingCallsWhileEnabling) {
    withService([&](const sp<IAcousticCalibration>& service, FakeDevice& device) {
        const auto scenario = [&] {
            makeFile(flag_, "\0"s);
            takeBlocks();
            device.take();
            const int32_t result = service->setEnabled(true);
            return std::to_string(result) + " " + switchText() + " " + takeSent() + " " + device.take().at(0);
        };
        EXPECT_EQ(scenario(), "0 on calibrated ac_offset=-3.000000");
        Effects effects = readingEffects("-1 off nothing ac_offset=0.000000");
        effects["open 1"] = "-1 off calibrated ac_offset=-3.000000";
        effects["write 1"] = "-1 empty calibrated ac_offset=-3.000000";
        sweep(scenario, effects);
    });
}

TEST_F(Sweep, FailingCallsWhileStarting) {
    withService([&](const sp<IAcousticCalibration>&, FakeDevice& device) {
        std::string flag = "\1";
        const auto scenario = [&] {
            std::filesystem::remove(flag_);
            if (!flag.empty()) makeFile(flag_, flag);
            takeBlocks();
            device.take();
            start();
            return switchText() + " " + takeSent() + " " + device.take().at(0);
        };
        EXPECT_EQ(scenario(), "on calibrated ac_offset=-3.000000");
        Effects effects = readingEffects("on flat ac_offset=0.000000");
        effects["read 1"] = "on flat ac_offset=0.000000";
        effects["open 1"] = "off flat ac_offset=0.000000";
        sweep(scenario, effects);

        flag.clear();
        EXPECT_EQ(scenario(), "off flat ac_offset=0.000000");
        sweep(scenario,
              {{"open 2", "(none) flat ac_offset=0.000000"}, {"write 1", "empty flat ac_offset=0.000000"}});
    });
}

TEST_F(Sweep, FailingCallsWhileReading) {
    withService([&](const sp<IAcousticCalibration>& service, FakeDevice&) {
        makeFile(flag_, "\1");
        makeFile(tv_ / "data/vendor/tmp/recipe/aqda.bin", std::string(22980, '\1'));
        const auto readsData = [&] { return std::to_string(stored(service).size()); };
        EXPECT_EQ(readsData(), "2");
        sweep(readsData, readingEffects("0"));

        const auto readsSwitch = [&] { return service->getEnabled() ? "on" : "off"; };
        EXPECT_STREQ(readsSwitch(), "on");
        sweep(readsSwitch, {{"fopen 1", "off"}, {"fread 1", "off"}});

        const auto readsParameters = [&] {
            std::string text;
            EXPECT_TRUE(service
                            ->getCalibrationParameters([&](const auto& answer) {
                                text = std::to_string(answer.intValue1) + " " +
                                       std::to_string(answer.channelCurves.size());
                            })
                            .isOk());
            return text;
        };
        EXPECT_EQ(readsParameters(), "16843009 5");
        Effects effects{{"fopen 1", "0 0"}};
        for (int n = 1; n <= 6; ++n) {
            effects["fseek " + std::to_string(n)] = "0 0";
            effects["fread " + std::to_string(n)] = "0 0";
        }
        sweep(readsParameters, effects);
    });
}

}  // namespace
}  // namespace hidlaudio::test
