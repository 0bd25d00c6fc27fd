// SPDX-License-Identifier: Apache-2.0
#include "acoustic_calibration/back_end.h"

#include <errno.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "headphone_virtualizer/back_end.h"
#include "headphone_virtualizer/back_end_state.h"
#include "headphone_virtualizer/back_end_transfer.h"
#include "host/kernel/clock/clock.h"
#include "host/kernel/faults/faults.h"
#include "platform/back_end_record.h"
#include "tests/support/back_end_tv.h"
#include "tests/support/log_text.h"

namespace hidlaudio::test {
namespace {

using namespace com::tovi::dtv::hardware::audio::acoustic_calibration;
using namespace com::tovi::dtv::hardware::audio::headphone_virtualizer;
using namespace com::tovi::dtv::hardware::audio::platform;
using namespace std::chrono_literals;
using host::SteppedClock;
using testing::ElementsAre;
using testing::IsEmpty;
using std::string_literals::operator""s;

/** One user of the controller: the acoustic calibration or the headphone virtualizer. */
struct User {
    std::string tag;
    bool (*isModel)();
    std::string model;  // name of isModel in the log
    bool unknownModel;  // result of isModel if the EEPROM cannot be read
    std::string eepromInit, eepromRead;
    int32_t (*waitForBoot)();
    std::string wait, openFailure;
};

const User kUsers[] = {
    {"AudioAC", isBeModel, "isBeModel", true, "fail", "fail", checkBeCtrlBoot, "checkBeCtrlBoot",
     "AC MTAL_Init failed, ret = -4 "},
    {"AudioHV", isBeModelForHV, "isBeModelForHV", false, "failed", "failed", checkBeCtrlBootForHV,
     "checkBeCtrlBootForHV", "HV MTAL_Init failed, Return:-4 "},
};

class BackEnd : public testing::Test {
  protected:
    std::vector<std::string> logged(const std::string& tag) { return takeText(log_, tag); }

    BackEndTv tv_;
    host::LogCapture log_;
};

TEST_F(BackEnd, EepromDecidesWhetherModelHasController) {
    for (const User& user : kUsers) {
        for (const char flag : {'\0', '\1', '\2', '\xFF'}) {
            tv_.setModelFlag(flag);
            EXPECT_EQ(user.isModel(), flag != '\0');
        }
        EXPECT_THAT(logged(user.tag), IsEmpty());
        tv_.setModelFlag(user.unknownModel ? '\0' : '\1');
        tv_.fail("MTEEPROM_GetProperty", "-9 1");
        EXPECT_EQ(user.isModel(), !user.unknownModel) << "the property is not used";
        logged(user.tag);

        tv_.fail("MTAL_Init", "-9 1");
        EXPECT_EQ(user.isModel(), user.unknownModel);
        EXPECT_THAT(logged(user.tag), IsEmpty());
        tv_.fail("MTEEPROM_Init", "-9 1");
        EXPECT_EQ(user.isModel(), user.unknownModel);
        EXPECT_THAT(logged(user.tag),
                    ElementsAre("E [" + user.model + "] Eeprom init " + user.eepromInit + "."));
        tv_.fail("MTEEPROM_Read", "-9 1");
        EXPECT_EQ(user.isModel(), user.unknownModel);
        EXPECT_THAT(logged(user.tag),
                    ElementsAre("E [" + user.model + "] Eeprom read " + user.eepromRead + "."));
    }
}

TEST_F(BackEnd, WaitEndsWhenControllerHasBooted) {
    const std::string bootState = tv_ / "soc/bectrl/boot_state";
    for (const User& user : kUsers) {
        for (const size_t sleeps : {0U, 29U, 30U}) {
            makeFile(bootState, "2\n");
            SteppedClock clock;
            const auto bootAfter = [&](size_t count) {
                if (count == sleeps) makeFile(bootState, "1\n");
            };
            clock.onSleep(bootAfter);
            bootAfter(0);
            EXPECT_EQ(user.waitForBoot(), sleeps < 30 ? 0 : 2);
            EXPECT_EQ(clock.sleeps(), std::vector<SteppedClock::Time>(sleeps, 500ms));
            std::vector<std::string> expected;
            if (sleeps == 30) expected = {"E [" + user.wait + "] wait BeCtrl launch timeout."};
            EXPECT_EQ(logged(user.tag), expected);
        }
        tv_.fail("MTAL_InitExCb", "-4 1");
        EXPECT_EQ(user.waitForBoot(), 1);
        EXPECT_THAT(logged(user.tag), ElementsAre("E [" + user.wait + "] " + user.openFailure));
        tv_.fail("MTDRVCUST_dcustom_cust_spec_get", "-6 1");
        EXPECT_EQ(user.waitForBoot(), 1);
        EXPECT_THAT(logged(user.tag),
                    ElementsAre("E [" + user.wait + "] MTDRVCUST_dcustom_cust_spec_get failed!!(-6)"));
    }
}

TEST_F(BackEnd, CommandsAreSentToController) {
    std::string block(36, '\0'), hex(72, '0');
    block[35] = '\xA0';
    hex[70] = 'a';
    EXPECT_EQ(setEnabledToBeCtrl(BECTRL_SPEC_HV_ENABLE, true), 0);

    // If the middleware cannot be opened, only the calibration is sent nevertheless.
    log_.take();
    tv_.fail("MTAL_InitExCb", "-4 2");
    EXPECT_EQ(setEnabledToBeCtrl(BECTRL_SPEC_HV_ENABLE, true), -4);
    EXPECT_EQ(logged("AudioHV").back(), "E [setEnabledToBeCtrl] HV MTAL_Init failed, Return:-4 ");
    EXPECT_EQ(setCalibratedDataToBeCtrl(block.data()), 0);
    EXPECT_EQ(logged("AudioAC").back(), "E [setCalibratedDataToBeCtrl] AC MTAL_Init failed, ret = -4 ");
    EXPECT_EQ(tv_.commands(), "32 1 01\n28 36 " + hex + "\n");

    tv_.fail("MTDRVCUST_dcustom_cust_spec_set", "-6 2");
    EXPECT_EQ(setEnabledToBeCtrl(BECTRL_SPEC_HV_UPMIX, true), -6);
    EXPECT_EQ(logged("AudioHV").back(),
              "E [setEnabledToBeCtrl] MTDRVCUST_dcustom_cust_spec_set failed!!(-6) type:21");
    EXPECT_EQ(setCalibratedDataToBeCtrl(block.data()), -6);
    EXPECT_EQ(logged("AudioAC").back(),
              "E [setCalibratedDataToBeCtrl] MTDRVCUST_dcustom_cust_spec_set failed!!(-6)");

    std::filesystem::remove(tv_ / "data/vendor/tmp/dtv_svc_is_ready");
    const SteppedClock clock;
    EXPECT_EQ(awaitSetEnabledToBeCtrl(), -5);
    EXPECT_THAT(logged("AudioHV"),
                ElementsAre("E [checkDtvSvcBootForHV] dtv_svc rpc server failed [TimeOut].",
                            "E [setEnabledToBeCtrl] BECtrl Boot failed [TimeOut]."));
    EXPECT_EQ(clock.sleeps(), std::vector<SteppedClock::Time>(2000, 10ms));
    EXPECT_EQ(awaitSetCalibratedDataToBeCtrl(), -1);
    EXPECT_EQ(logged("AudioAC").back(), "E [setCalibratedDataToBeCtrl] BECtrl Boot failed [TimeOut].");
}

TEST_F(BackEnd, ErrorsOfDriverAreReturned) {
    const uint8_t byte = 1;
    const auto set = [&] { return setParametersToBeCtrl(BECTRL_IOC_SET_DEVICE_PARAMETER, &byte, 1); };
    const auto cancel = [] { return notifyCancelToBeCtrl(BECTRL_IOC_CANCEL_HRTF_PARAMETER); };
    EXPECT_EQ(cancel(), -5) << "no transfer is running";
    tv_.behave("ioctl_fails\n");
    EXPECT_EQ(set(), -5);
    EXPECT_THAT(logged("AudioHV"), ElementsAre("E [notifyCancelToBeCtrl] ioctl() failed! : (-1)",
                                               "E [setParametersToBeCtrl] ioctl() failed! : (-1)"));
    tv_.behave("open_fails\n");
    EXPECT_EQ(cancel(), -5);
    EXPECT_EQ(set(), -5);
    EXPECT_THAT(logged("AudioHV"),
                ElementsAre("E [notifyCancelToBeCtrl] bectrl device file open failed! : (-5)",
                            "E [setParametersToBeCtrl] bectrl device file open failed! : (-5)"));
}

TEST_F(BackEnd, TransferStateIsReadCompletelyOrNotAtAll) {
    BeCtrlTransferState state{5, 6};
    const auto read = [&] { return readBeCtrlTransferState(kHrtfStateFile, state); };
    tv_.setState(host::UploadKind::Hrtf, "\x01");
    EXPECT_EQ(read(), -5);
    std::filesystem::remove(tv_.stateFile(host::UploadKind::Hrtf));
    EXPECT_EQ(read(), -5);
    tv_.setState(host::UploadKind::Hrtf, "\xFF\xF3\x01");
    {
        const host::ScopedFault fault({"fread", 1, EIO});
        EXPECT_EQ(read(), -5);
    }
    EXPECT_THAT(logged("AudioHV"),
                ElementsAre("W [readBeCtrlTransferState] fread proc file failed! errno:0",
                            "W [readBeCtrlTransferState] Proc file open failed!",
                            "W [readBeCtrlTransferState] fread proc file failed! errno:5"));
    EXPECT_EQ(state.state, 5);
    EXPECT_EQ(state.result, 6);
    EXPECT_EQ(read(), 0);
    EXPECT_EQ(state.state, -1);
    EXPECT_EQ(state.result, 0xF3);
}

}  // namespace
}  // namespace hidlaudio::test
