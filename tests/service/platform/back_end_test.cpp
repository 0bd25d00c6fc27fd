// SPDX-License-Identifier: Apache-2.0
#include "acoustic_calibration/back_end.h"

#include <gtest/gtest.h>

#include "headphone_virtualizer/back_end.h"
#include "host/kernel/clock/clock.h"
#include "host/kernel/log.h"
#include "tests/support/back_end_tv.h"

namespace hidlaudio::test {
namespace {

using namespace com::tovi::dtv::hardware::audio::acoustic_calibration;
using namespace com::tovi::dtv::hardware::audio::headphone_virtualizer;
using namespace std::chrono_literals;
using host::SteppedClock;

/** One user of the controller: the acoustic calibration or the headphone virtualizer. */
struct User {
    bool (*isModel)();
    bool unknownModel;  // result of isModel if the EEPROM cannot be read
    int32_t (*waitForBoot)();
};

const User kUsers[] = {{isBeModel, true, checkBeCtrlBoot}, {isBeModelForHV, false, checkBeCtrlBootForHV}};

class BackEnd : public testing::Test {
  protected:
    BackEndTv tv_;
    const host::LogCapture log_;
};

TEST_F(BackEnd, EepromDecidesWhetherModelHasController) {
    for (const User& user : kUsers) {
        for (const char flag : {'\0', '\1', '\2', '\xFF'}) {
            tv_.setModelFlag(flag);
            EXPECT_EQ(user.isModel(), flag != '\0');
        }
        tv_.setModelFlag(user.unknownModel ? '\0' : '\1');
        tv_.fail("MTEEPROM_GetProperty", "-9 1");
        EXPECT_EQ(user.isModel(), !user.unknownModel) << "the property is not used";
        for (const char* function : {"MTAL_Init", "MTEEPROM_Init", "MTEEPROM_Read"}) {
            tv_.fail(function, "-9 1");
            EXPECT_EQ(user.isModel(), user.unknownModel) << function;
        }
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
        }
        for (const char* function : {"MTAL_InitExCb", "MTDRVCUST_dcustom_cust_spec_get"}) {
            tv_.fail(function, "-4 1");
            EXPECT_EQ(user.waitForBoot(), 1) << function;
        }
    }
}

}  // namespace
}  // namespace hidlaudio::test
