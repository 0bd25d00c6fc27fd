// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <com/tovi/test/probe/1.1/IProbe.h>

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace hidlaudio::test {

using android::sp;
using android::status_t;
using android::wp;
using android::hardware::hidl_handle;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::Return;
using android::hardware::Void;
using com::tovi::test::probe::V1_0::Everything;
using com::tovi::test::probe::V1_0::Files;
using com::tovi::test::probe::V1_0::IProbeCallback;
using com::tovi::test::probe::V1_1::IProbe;
using ParentProbe = com::tovi::test::probe::V1_0::IProbe;

/** The kernel's number of this thread; that of the main thread is the process's. */
int32_t threadNumber();

/** A callback that does what the test says. */
struct Callback : IProbeCallback {
    std::function<int32_t(int32_t)> event = [](int32_t value) { return value + 1; };
    std::function<void()> gone = [] {};

    ~Callback() override { gone(); }
    Return<int32_t> onEvent(int32_t value) override { return event(value); }
    Return<void> onNotice(int32_t value) override {
        event(value);
        return Void();
    }
};

/** Hands each death notice to the test: the cookie, and the object that died. */
struct Mourner : android::hardware::hidl_death_recipient {
    std::function<void(uint64_t, const wp<android::hidl::base::V1_0::IBase>&)> died;

    void serviceDied(uint64_t cookie, const wp<android::hidl::base::V1_0::IBase>& who) override {
        died(cookie, who);
    }
};

/** The service that the interface describes. Any thread. */
class Probe : public IProbe {
  public:
    explicit Probe(uint32_t number);
    ~Probe() override;

    void log(const std::string& event);

    Return<int32_t> add(int32_t a, int32_t b) override { return a + b; }
    Return<uint32_t> mark() override { return mMarks++; }
    Return<void> setCallback(const sp<IProbeCallback>& callback) override;
    Return<sp<IProbeCallback>> getCallback() override { return kept(); }
    Return<void> echoBytes(const hidl_vec<uint8_t>& data, echoBytes_cb callback) override;
    Return<void> echoText(const hidl_string& text, echoText_cb callback) override;
    Return<void> echoTexts(const hidl_vec<hidl_vec<hidl_string>>& texts, echoTexts_cb callback) override;
    Return<void> passCallbacks(const hidl_vec<sp<IProbeCallback>>& given, passCallbacks_cb callback) override;
    Return<void> readFiles(const Files& files, readFiles_cb callback) override;
    Return<void> note(int32_t value, const hidl_handle& gate) override;
    Return<void> echo(const Everything& value, echo_cb callback) override;
    Return<uint64_t> sumBytes(const hidl_vec<uint8_t>& data) override;
    Return<void> makeBytes(uint32_t size, makeBytes_cb callback) override;
    Return<void> makeText(uint32_t size, makeText_cb callback) override;
    Return<void> takeBytes(const hidl_vec<uint8_t>& data) override;
    Return<void> wait(int32_t number, const hidl_handle& gate) override;
    Return<void> answerThenWait(const hidl_handle& gate, answerThenWait_cb callback) override;
    Return<sp<IProbeCallback>> makeCallback() override;
    Return<void> callBack(int32_t value, callBack_cb callback) override;
    Return<void> callBackFromThread(const hidl_handle& gate) override;
    Return<void> events(events_cb callback) override;
    Return<void> answerTimes(uint32_t times, answerTimes_cb callback) override;
    Return<int32_t> returnError() override;
    Return<void> whoServes(whoServes_cb callback) override;
    Return<int32_t> registerAnother(const hidl_string& instance, uint32_t number) override;
    Return<uint64_t> heapInUse() override;
    Return<uint32_t> number() override { return mNumber; }

  private:
    sp<IProbeCallback> kept();

    const uint32_t mNumber;
    const sp<Mourner> mMourner = new Mourner();
    std::atomic<uint32_t> mMarks{0};
    std::mutex mMutex;  // what follows
    sp<IProbeCallback> mCallback;
    std::vector<hidl_string> mEvents;
    std::vector<std::thread> mThreads;
};

}  // namespace hidlaudio::test
