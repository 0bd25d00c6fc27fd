// SPDX-License-Identifier: Apache-2.0
#include <errno.h>

#include "fixture.h"

namespace hidlaudio::test {
namespace {

/** Outcome of a scenario with one failed call. The key is call and number; "$" stands for the errno. */
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
        for (const std::string& call : host::faultableCalls()) {
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
                    const bool none = repeated || effect == effects.end();
                    EXPECT_EQ(outcome, none ? baseline : withErrno(effect->second, error));
                    EXPECT_EQ(openFiles(), before);
                }
            }
        }
        for (const auto& effect : effects) EXPECT_TRUE(met.count(effect.first)) << effect.first;
    }

    static std::ptrdiff_t openFiles() {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
    }

    static std::string withErrno(std::string text, int error) {
        for (size_t at; (at = text.find('$')) != std::string::npos;)
            text.replace(at, 1, std::to_string(error));
        return text;
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
            logged();
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
            return std::to_string(result) + " " + (kept ? content : std::to_string(content.size())) + "\n" +
                   errors();
        };
        EXPECT_EQ(scenario(), "0 288\n");
        const std::string failed = "-1 (none)\n[setCalibratedData] write failed, errno $\n";
        sweep(scenario, {{"open 1", "-1 old\n[setCalibratedData] open error\n"},
                         {"write 1", failed},
                         {"write 2", failed},
                         {"write 3", "0 284\n"},
                         {"write 4", "0 284\n"}});
        const host::ScopedFault shortWrite({"write", 2, 0, false, 139});
        EXPECT_EQ(scenario(), withErrno(failed, 0));
        const host::ScopedFault noRoom({"write", 1, ENOSPC}), noRemoval({"remove", 1, EROFS});
        EXPECT_EQ(scenario(),
                  "-1 0\n[setCalibratedData] write failed, errno 28\n"
                  "[setCalibratedData] remove failed, errno 30\n");
    });
}

/**
 * Returns the effects of failing calls while the data file is read. The file has two channels, the marker and
 * the end. "@" in `effect` stands for the log message.
 */
Effects readingEffects(const std::string& effect) {
    Effects effects;
    for (const std::string call : {"fopen 1", "fread 1", "fread 2", "fread 3", "fread 4", "fread 5",
                                   "fread 6", "fseek 1", "fseek 2", "fseek 3"}) {
        std::string text = effect;
        text.replace(text.find('@'), 1, "[readCalibratedData] " + call.substr(0, 5) + " failed, errno $\n");
        effects[call] = text;
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
            return std::to_string(result) + " " + switchText() + " " + takeSent() + " " +
                   device.take().at(0) + "\n" + errors();
        };
        EXPECT_EQ(scenario(), "0 on calibrated ac_offset=-3.000000\n");
        Effects effects = readingEffects(
            "-1 off nothing ac_offset=0.000000\n@[setEnabled] end readCalibratedData failed\n"
            "[setEnabled] Skip to write enabled data, because calibration was fail.\n");
        effects["open 1"] = "-1 off calibrated ac_offset=-3.000000\n[setEnabledData] open error\n";
        effects["write 1"] =
            "-1 empty calibrated ac_offset=-3.000000\n"
            "[setEnabledData] write AcousticCalibration enabled data failed, errno $\n";
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
            return switchText() + " " + takeSent() + " " + device.take().at(0) + "\n" + errors();
        };
        EXPECT_EQ(scenario(), "on calibrated ac_offset=-3.000000\n");
        const std::string flat = "on flat ac_offset=0.000000\n", opens = "[getEnabledOnBoot] open error\n";
        Effects effects = readingEffects(flat + "@");
        effects["read 1"] =
            flat + "[getEnabledOnBoot] read AcousticCalibration enabled data failed, errno $\n";
        effects["open 1"] = "off flat ac_offset=0.000000\n" + opens;
        sweep(scenario, effects);

        flag.clear();
        EXPECT_EQ(scenario(), "off flat ac_offset=0.000000\n" + opens);
        sweep(scenario, {{"open 2", "(none) flat ac_offset=0.000000\n" + opens +
                                        "[getEnabledOnBoot] open filed, "
                                        "/data/vendor/tovi/hidlaudio/aud_ac_enabled.data failed, errno $\n"},
                         {"write 1", "empty flat ac_offset=0.000000\n" + opens +
                                         "[getEnabledOnBoot] write AcousticCalibration enabled data failed, "
                                         "errno $\n"}});
    });
}

TEST_F(Sweep, FailingCallsWhileReading) {
    withService([&](const sp<IAcousticCalibration>& service, FakeDevice&) {
        makeFile(flag_, "\1");
        makeFile(tv_ / "data/vendor/tmp/recipe/aqda.bin", std::string(22980, '\1'));
        const auto readsData = [&] {
            const size_t channels = stored(service).size();
            return std::to_string(channels) + "\n" + errors();
        };
        EXPECT_EQ(readsData(), "2\n");
        sweep(readsData, readingEffects("0\n@[getCalibratedData] end readCalibratedData failed\n"));

        const auto readsSwitch = [&] {
            const bool enabled = service->getEnabled();
            return (enabled ? "on\n" : "off\n") + errors();
        };
        EXPECT_EQ(readsSwitch(), "on\n");
        sweep(readsSwitch,
              {{"fopen 1", "off\n[getEnabled] fopen error\n"},
               {"fread 1", "off\n[getEnabled] fread AcousticCalibration enabled data failed, errno $\n"}});

        const auto readsParameters = [&] {
            std::string text;
            EXPECT_TRUE(service
                            ->getCalibrationParameters([&](const auto& answer) {
                                text = std::to_string(answer.intValue1) + " " +
                                       std::to_string(answer.channelCurves.size()) + "\n";
                            })
                            .isOk());
            return text + errors();
        };
        EXPECT_EQ(readsParameters(), "16843009 5\n");
        Effects effects{{"fopen 1", "0 0\n[getCalibrationParameters] fopen failed, errno $\n"}};
        for (const std::string call : {"fseek", "fread"}) {
            for (int n = 1; n <= 6; ++n) {
                effects[call + " " + std::to_string(n)] =
                    "0 0\n[getCalibrationParameters] " + call + " failed, errno $\n";
            }
        }
        sweep(readsParameters, effects);
    });
}

}  // namespace
}  // namespace hidlaudio::test
