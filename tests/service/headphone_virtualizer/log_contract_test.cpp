// SPDX-License-Identifier: Apache-2.0
#include "tests/support/log_contract.h"

#include "fixture.h"
#include "headphone_virtualizer/back_end_transfer.h"

namespace hidlaudio::test {
namespace {

using namespace std::chrono_literals;

constexpr char kReady[] = "I [checkDtvSvcBootForHV] <<<<<hidlaudio dtv_svc is ready !>>>>> count:0";
constexpr char kNotReady[] = "E [checkDtvSvcBootForHV] dtv_svc rpc server failed [TimeOut].";
constexpr char kDiscarding[] = "D [discardParameterBufferInt] star";
constexpr char kDiscarded[] = "D [discardParameterBufferInt] end";
constexpr char kNotFound[] = "E [getParamFromHandle] handle is not found!";

class LogContract : public Virtualizer {
  protected:
    void expect(const std::vector<LoggedAction>& rows) { expectLog(log_, "AudioHV", rows); }

    Action append(int32_t handle, size_t size, int32_t result) {
        return [=] { EXPECT_EQ(service_->append(handle, std::vector<uint8_t>(size)), result); };
    }
    Action apply(int32_t handle, int32_t result) {
        return [=] { EXPECT_EQ(service_->apply(handle, callback_), result); };
    }
    Action cancel(int32_t handle, int32_t result) {
        return [=] { EXPECT_EQ(service_->cancel(handle), result); };
    }

    /**
     * Uploads device parameters, and calls `meanwhile` with the handle when `line` is logged. Returns the
     * lines of the transfer thread; keeps the others in callerLines_.
     */
    Lines transferLines(
        const std::string& line = kAcquired, const std::function<void(int32_t)>& meanwhile = [](int32_t) {}) {
        const int32_t handle = fill(ParamType::DEVICE, "");
        log_.take();
        apply(handle, 0)();
        Lines all = loggedUntil(line), own;
        meanwhile(handle);
        const bool finished = std::count(all.begin(), all.end(), kFinished) != 0;
        for (const std::string& later : finished ? Lines{} : loggedUntil(kFinished)) all.push_back(later);
        callerLines_.clear();
        for (const std::string& each : all) {
            const bool fromThread =
                each.find("[apply]") != 2 && each.find("[discard") != 2 && each.find("[cancel") != 2;
            (fromThread ? own : callerLines_).push_back(each);
        }
        return own;
    }

    /** Returns the lines of a transfer whose own lines are `own`. */
    static Lines aroundTransfer(Lines own) {
        own.insert(own.begin(), {"D [paramTransferThread] start",
                                 "D [paramTransferThread] Acquire Wakelock HidlAudioDevice", kAcquired});
        own.insert(own.end(),
                   {"D Release Wakelock HidlAudioDevice", "I Release Wakelock completed.", kFinished});
        return own;
    }

    static constexpr char kAcquired[] = "I [paramTransferThread] Acquire Wakelock completed.";
    static constexpr char kUpdate[] = "D [paramTransferThread] update proc file!!";
    static constexpr char kState1[] = "D [paramTransferThread] read proc file(state)=0x1";
    static constexpr char kResult0[] = "D [paramTransferThread] read proc file(result)=0x0";
    Lines callerLines_;
    const sp<Callback> callback_ = new Callback;
};

TEST_F(LogContract, Start) {
    const std::string begin = "D [HeadphoneVirtualizer] start", end = "D [HeadphoneVirtualizer] end";
    const std::string unsupported = "E [HeadphoneVirtualizer] end. HRTF is not supported.";
    const auto restart = [&] { service_ = new V5_1::implementation::HeadphoneVirtualizer; };
    makeFile(tv_ / "soc/bectrl/boot_state", "0\n");
    expect(
        {{refusing("MTAL_InitExCb", restart),
          {begin, kReady, "E [checkBeCtrlBootForHV] HV MTAL_Init failed, Return:-6 ", end}},
         {refusing("MTDRVCUST_dcustom_cust_spec_get", restart),
          {begin, kReady, "E [checkBeCtrlBootForHV] MTDRVCUST_dcustom_cust_spec_get failed!!(-6)", end}},
         {sleepless(restart), {begin, kReady, "E [checkBeCtrlBootForHV] wait BeCtrl launch timeout.", end}},
         {refusing("MTEEPROM_Init", restart),
          {begin, kReady, "E [isBeModelForHV] Eeprom init failed.", unsupported}},
         {refusing("MTEEPROM_Read", restart),
          {begin, kReady, "E [isBeModelForHV] Eeprom read failed.", unsupported}},
         {without(kReadyMarker, restart),
          {begin, kNotReady, "E [HeadphoneVirtualizer] checkDtvSvcBoot failed. Return:0", unsupported}},
         {[&] { EXPECT_EQ(service_->setUpmixEnabled(true), -5); },
          {"D [setUpmixEnabled] start. enable:1",
           "E [setUpmixEnabled] end. HRTF is not supported. Return:-5"}},
         {[&] { EXPECT_FALSE(service_->getVirtualizerEnabled()); },
          {"D [getVirtualizerEnabled] start", "E [getVirtualizerEnabled] end. HRTF is not supported."}}});
}

TEST_F(LogContract, Settings) {
    const std::string virtualizer = "D [setVirtualizerEnabled] start. enable:1";
    const std::string upmix = "D [setUpmixEnabled] start. enable:0";
    const std::string notSet = "E [setUpmixEnabled] Notification to BeCtrl failed.";
    const auto setUpmix = [&](int32_t result) -> Action {
        return [=] { EXPECT_EQ(service_->setUpmixEnabled(false), result); };
    };
    const auto setType = [&](const std::string& type, int32_t result) -> Action {
        return [=] { EXPECT_EQ(service_->setVirtualizerType(type), result); };
    };
    expect(
        {{[&] { EXPECT_EQ(service_->setVirtualizerEnabled(true), 0); },
          {virtualizer, kReady, "D [setVirtualizerEnabled] end. Return:0"}},
         {[&] { EXPECT_TRUE(service_->getVirtualizerEnabled()); },
          {"D [getVirtualizerEnabled] start", "D [getVirtualizerEnabled] end. Return:1"}},
         {setUpmix(0), {upmix, kReady, "D [setUpmixEnabled] end. Return:0"}},
         {[&] { EXPECT_FALSE(service_->getUpmixEnabled()); },
          {"D [getUpmixEnabled] start", "D [getUpmixEnabled] end. Return:0"}},
         {refusing("MTDRVCUST_dcustom_cust_spec_set", setUpmix(-6)),
          {upmix, kReady, "E [setEnabledToBeCtrl] MTDRVCUST_dcustom_cust_spec_set failed!!(-6) type:21",
           notSet, "D [setUpmixEnabled] end. Return:-6"}},
         {refusing("MTAL_InitExCb", setUpmix(-6)),
          {upmix, kReady, "E [setEnabledToBeCtrl] HV MTAL_Init failed, Return:-6 ", notSet,
           "D [setUpmixEnabled] end. Return:-6"}},
         {without(kReadyMarker, setUpmix(-5)),
          {upmix, kNotReady, "E [setEnabledToBeCtrl] BECtrl Boot failed [TimeOut].", notSet,
           "D [setUpmixEnabled] end. Return:-5"}},
         {setType("Tovi", 0),
          {"D [setVirtualizerType] start type=[Tovi]", "D [setVirtualizerType] end Return: 0"}},
         {setType("tovi", -5),
          {"D [setVirtualizerType] start type=[tovi]", "E [setVirtualizerType] tovi is not supported",
           "D [setVirtualizerType] end Return: -5"}},
         {[&] { EXPECT_TRUE(service_->getVirtualizerType([](const auto&) {}).isOk()); },
          {"D [getVirtualizerType] start", "D [getVirtualizerType] end Return type=[Tovi]"}},
         {[&] { EXPECT_TRUE(service_->getAvailableVirtualizerTypes([](const auto&) {}).isOk()); },
          {"D [getAvailableVirtualizerTypes] start", "D [getAvailableVirtualizerTypes] types[i]=[Tovi]"}}});
}

TEST_F(LogContract, Buffers) {
    log_.take();
    const int32_t handle = service_->allocateParameterBuffer(ParamType::DEVICE, 262150);
    const std::string number = std::to_string(handle), allocated = "D [allocateParameterBufferInt] ";
    Lines lines = logged();
    ASSERT_EQ(lines.size(), 7U);
    lines[4].resize(lines[4].find("data=0x"));
    EXPECT_EQ(lines, (Lines{"D [allocateParameterBuffer] start. ParamType=0, size=262150",
                            allocated + "start. type=0, handle=-1", kDiscarding, kDiscarded,
                            allocated + "malloc success! ", allocated + "end. Return:" + number,
                            "D [allocateParameterBuffer] end. handle:" + number}));
    const std::string appending = "D [append] start. handle=" + number, kind = "D [append] ParamType=0";
    const std::string discarding = "D [discardParameterBuffer] start. handle=" + number;
    expect(
        {{append(handle, 6, 0),
          {appending, kind,
           "D [appendInt] start.  registered size=262150,  append accumulation=0, data size=6",
           "D [appendInt] end", "D [append] end. Return:0"}},
         {append(handle, 262144, 0),
          {appending, kind,
           "D [appendInt] start.  registered size=262150,  append accumulation=6, data size=262144",
           "D [appendInt] end", "D [append] end. Return:0"}},
         {append(handle, 1, -2),
          {appending, kind,
           "D [appendInt] start.  registered size=262150,  append accumulation=262150, data size=1",
           "E [appendInt] data size error", "D [append] end. Return:-2"}},
         {append(handle, 262145, -2),
          {appending, kind, "E [append] data size error. max append size=262144, append size=262145"}},
         {[&] { EXPECT_EQ(service_->discardParameterBuffer(handle), 0); },
          {discarding, "D [discardParameterBuffer] ParamType=0", kDiscarding,
           "D [discardParameterBufferInt] release memory.", kDiscarded,
           "D [discardParameterBuffer] end. Return:0"}},
         {[&] { EXPECT_EQ(service_->discardParameterBuffer(handle), -1); },
          {discarding, kNotFound, "D [discardParameterBuffer] end. Return:-1"}},
         {append(handle, 1, -1), {appending, kNotFound, "D [append] end. Return:-1"}},
         {[&] { EXPECT_EQ(service_->allocateParameterBuffer(static_cast<ParamType>(2), 10), 0); },
          {"D [allocateParameterBuffer] start. ParamType=2, size=10",
           "E [allocateParameterBuffer] ParamType(2) is not supported.",
           "D [allocateParameterBuffer] end. handle:0"}},
         {[&] { EXPECT_EQ(service_->allocateParameterBuffer(ParamType::HRTF, -1), 0); },
          {"D [allocateParameterBuffer] start. ParamType=1, size=-1", allocated + "start. type=1, handle=-1",
           kDiscarding, kDiscarded, allocated + "malloc fail.", "D [allocateParameterBuffer] end. handle:0"}},
         {[&] { EXPECT_EQ(service_->getMaxAppendSize(), 262144); },
          {"D [getMaxAppendSize] start", "D [getMaxAppendSize] end. Return:262144"}}});
}

TEST_F(LogContract, RefusedApplyAndCancel) {
    const int32_t handle = service_->allocateParameterBuffer(ParamType::DEVICE, 1);
    const std::string number = std::to_string(handle);
    const std::string start = "D [apply] start. handle:" + number, kind = "D [apply] ParamType=0";
    expect({{apply(handle, -2),
             {start, kind, "E [checkDataSize] data size error! registered size:1, array size:0"}},
            {cancel(handle, -4),
             {"D [cancel] start. handle=" + number, "D [cancel] ParamType=0", "D [cancelInt] start",
              "W [cancelInt] cancel failed.", "D [cancelInt] end. Return:-4", "D [cancel] end. Return:-4"}},
            {cancel(-1, -1), {"D [cancel] start. handle=-1", kNotFound, "D [cancel] end. Return:-1"}},
            {apply(-1, -1), {"D [apply] start. handle:-1", kNotFound}}});
    append(handle, 1, 0)();
    expect({{failing("fopen", 1, apply(handle, -5)),
             {start, kind, "W [readBeCtrlTransferState] Proc file open failed!",
              "E [checkResuming] Proc file error! ret=-5"}},
            {failing("fread", 1, apply(handle, -5)),
             {start, kind, "W [readBeCtrlTransferState] fread proc file failed! errno:5",
              "E [checkResuming] Proc file error! ret=-5"}},
            {failing("pthread_create", 1, apply(handle, -5)),
             {start, kind, "E [apply] paramTransferThread create Failed."}},
            {[&] { EXPECT_EQ(service_->apply(handle, nullptr), -5); },
             {start, kind, "E [apply] callback object is nullptr."}}});
    tv_.setState(UploadKind::Hrtf, "\2\3");
    expect({{apply(handle, -3), {start, kind, "W [checkResuming] BeCtrl is busy!"}}});
}

TEST_F(LogContract, DiscardedTransfer) {
    tv_.behave("hang\n");
    host::setClockSpeed(5);
    std::string number;
    const Lines lines = transferLines(kResult0, [&](int32_t handle) {
        number = std::to_string(handle);
        tv_.behave("open_fails\n");
        expect({{append(handle, 0, -3),
                 {"D [append] start. handle=" + number, "D [append] ParamType=0",
                  "D [appendInt] start.  registered size=0,  append accumulation=0, data size=0",
                  "W [appendInt] HIDL is waiting or BeCtrl is transferring!!", "D [append] end. Return:-3"}},
                {apply(handle, -3),
                 {"D [apply] start. handle:" + number, "D [apply] ParamType=0",
                  "W [apply] HIDL is waiting or BeCtrl is transferring!!"}},
                {cancel(handle, -4),
                 {"D [cancel] start. handle=" + number, "D [cancel] ParamType=0", "D [cancelInt] start",
                  "E [notifyCancelToBeCtrl] bectrl device file open failed! : (-5)",
                  "W [cancelInt] cancel failed.", "D [cancelInt] end. Return:-4",
                  "D [cancel] end. Return:-4"}}});
        tv_.behave("");
        EXPECT_EQ(service_->discardParameterBuffer(handle), 0);
    });
    host::setClockSpeed(1);
    EXPECT_EQ(lines, aroundTransfer({kUpdate, kState1, kResult0, kUpdate,
                                     "D [paramTransferThread] read proc file(state)=0x0",
                                     "D [paramTransferThread] read proc file(result)=0x3"}));
    EXPECT_EQ(
        callerLines_,
        (Lines{"D [apply] start. handle:" + number, "D [apply] ParamType=0", "D [apply] end. Return:0",
               "D [discardParameterBuffer] start. handle=" + number, "D [discardParameterBuffer] ParamType=0",
               kDiscarding, "D [discardParameterBufferInt] call cancel()", "D [cancelInt] start",
               "D [cancelInt] end. Return:0", kDiscarded, "D [discardParameterBuffer] end. Return:0"}));
}

TEST_F(LogContract, FailedTransfer) {
    const std::string thread = "E [paramTransferThread] ";
    const std::string noDevice = "E [setParametersToBeCtrl] bectrl device file open failed! : (-5)";
    for (const auto& [call, nth, line] :
         {std::tuple("epoll_create1", 1U, thread + "regist FD failed!!(proc)"),
          {"fopen", 3U, thread + "Proc file open failed!"},
          {"timerfd_create", 1U, thread + "regist FD failed!!(timer)"},
          {"timerfd_settime", 1U, thread + "start timer failed!!"},
          {"open", 1U, noDevice},
          {"ioctl", 1U, "E [setParametersToBeCtrl] ioctl() failed! : (-1)"}}) {
        const host::ScopedFault fault({call, nth, EIO});
        EXPECT_EQ(transferLines(), aroundTransfer({line}));
    }
    const sp<Callback> other = new Callback;
    other->hold(true);
    EXPECT_EQ(service_->apply(fill(ParamType::HRTF, ""), other), 0);
    EXPECT_EQ(other->await(), 0);
    {
        const host::SteppedClock clock;
        EXPECT_EQ(transferLines(), aroundTransfer({thread + "Waiting thread finish is Timeout!"}));
        EXPECT_EQ(clock.sleeps(), std::vector<host::SteppedClock::Time>(40, 500ms));
    }
    EXPECT_EQ(tv_.received(UploadKind::Device), "(none)") << "no transfer has reached the controller";
    {
        host::SteppedClock clock(host::SteppedClock::Sleeps::Wait);
        const auto cancelWaiting = [&](int32_t handle) {
            clock.awaitPending(1);
            cancel(handle, 0)();
            clock.advance(500ms);
        };
        EXPECT_EQ(transferLines(kAcquired, cancelWaiting),
                  aroundTransfer({"D [paramTransferThread] Waiting thread finish is canceled"}));
    }
    other->hold(false);
    loggedUntil(kFinished);

    std::filesystem::remove_all(tv_ / "power");
    const std::string notAcquired = thread + "Acquire Wakelock failed(errno:-2).";
    EXPECT_EQ(transferLines(notAcquired), (Lines{"D [paramTransferThread] start",
                                                 "D [paramTransferThread] Acquire Wakelock HidlAudioDevice",
                                                 notAcquired, "D Release Wakelock HidlAudioDevice",
                                                 "E Release Wakelock failed(errno:-2).", kFinished}));
    std::filesystem::create_directory(tv_ / "power");

    tv_.behave("hang\n");
    host::SteppedClock clock(host::SteppedClock::Sleeps::Wait);
    EXPECT_EQ(transferLines(kResult0, [&](int32_t) { clock.advance(20s); }),
              aroundTransfer({kUpdate, kState1, kResult0, thread + "epoll timeout!!"}));
    using namespace com::tovi::dtv::hardware::audio::headphone_virtualizer;
    EXPECT_EQ(notifyCancelToBeCtrl(BECTRL_IOC_CANCEL_DEVICE_PARAMETER), 0) << "the controller is still busy";
    // The failures before the transfer, both waits, the wake lock, and the time-out.
    EXPECT_THAT(callback_->results(), ElementsAre(-3, -3, -3, -3, -2, -2, -2, 1, -3, -2));
}

}  // namespace
}  // namespace hidlaudio::test
