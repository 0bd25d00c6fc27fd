// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <com/tovi/test/probe/1.1/IProbe.h>
#include <hidl/HidlTransportSupport.h>
#include <hwbinder/IPCThreadState.h>
#include <malloc.h>
#include <sys/syscall.h>
#include <unistd.h>

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
using android::hidl::base::V1_0::IBase;
using com::tovi::test::probe::V1_0::Everything;
using com::tovi::test::probe::V1_0::Files;
using com::tovi::test::probe::V1_0::IProbeCallback;
using com::tovi::test::probe::V1_1::IProbe;
using ParentProbe = com::tovi::test::probe::V1_0::IProbe;

/** Returns the kernel's ID of this thread. The main thread's ID is the process ID. */
inline int32_t threadNumber() {
    return static_cast<int32_t>(syscall(SYS_gettid));
}

/** Reports that the method has reached the gate and waits until it opens. Returns 0, or -1 if there is none.
 */
inline int32_t passGate(const native_handle_t* gate) {
    char byte = 'e';
    return gate != nullptr && write(gate->data[0], &byte, 1) == 1 && read(gate->data[0], &byte, 1) == 1 ? 0
                                                                                                        : -1;
}

/** Callback whose behavior the test sets. */
struct Callback : IProbeCallback {
    std::function<int32_t(int32_t)> event = [](int32_t value) { return value + 1; };
    std::function<void()> gone = [] {};

    ~Callback() override { gone(); }
    Return<int32_t> onEvent(int32_t value) override { return event(value); }
};

/** Passes each death notice to the test: the cookie and the proxy of the dead object. */
struct DeathRecipient : android::hardware::hidl_death_recipient {
    std::function<void(uint64_t, const wp<IBase>&)> died;

    void serviceDied(uint64_t cookie, const wp<IBase>& who) override { died(cookie, who); }
};

/** Implements IProbe, as IProbe.hal describes it. Any thread. */
class Probe : public IProbe {
  public:
    explicit Probe(uint32_t number) : number_(number) {
        recipient_->died = [this](uint64_t cookie, const auto&) { log("died " + std::to_string(cookie)); };
    }
    ~Probe() override {
        for (std::thread& thread : threads_) thread.join();
    }

    void log(const std::string& event) {
        constexpr size_t kMaxEvents = 500;
        std::lock_guard<std::mutex> lock(mutex_);
        if (events_.size() == kMaxEvents) events_.erase(events_.begin());
        events_.emplace_back(event);
    }

    Return<int32_t> add(int32_t a, int32_t b) override { return a + b; }
    Return<uint32_t> mark() override { return marks_++; }
    Return<void> setCallback(const sp<IProbeCallback>& callback) override {
        if (callback != nullptr) (void)callback->linkToDeath(recipient_, 42).isOk();
        sp<IProbeCallback> previous = callback;  // destroyed after the mutex is released
        std::lock_guard<std::mutex> lock(mutex_);
        std::swap(previous, callback_);
        return Void();
    }
    Return<sp<IProbeCallback>> getCallback() override {
        std::lock_guard<std::mutex> lock(mutex_);
        return callback_;
    }
    Return<void> echoBytes(const hidl_vec<uint8_t>& data, echoBytes_cb cb) override {
        return answer(cb, data);
    }
    Return<void> echoText(const hidl_string& text, echoText_cb cb) override { return answer(cb, text); }
    Return<void> echoTexts(const hidl_vec<hidl_vec<hidl_string>>& texts, echoTexts_cb cb) override {
        return answer(cb, hidl_vec<hidl_vec<hidl_string>>(texts));
    }
    Return<void> passCallbacks(const hidl_vec<sp<IProbeCallback>>& given, passCallbacks_cb cb) override {
        return answer(cb, given, given.size() > 1 && android::hardware::interfacesEqual(given[0], given[1]));
    }
    Return<void> readFiles(const Files& files, readFiles_cb cb) override {
        char content[64];
        const native_handle_t* first = files.first;
        const bool hasFile = first != nullptr && first->numFds > 0;
        const ssize_t size = hasFile ? pread(first->data[0], content, sizeof(content), 0) : 0;
        return answer(cb, hidl_string(content, size > 0 ? static_cast<size_t>(size) : 0), files);
    }
    Return<void> note(int32_t value, const hidl_handle& gate) override {
        passGate(gate);
        return done("note " + std::to_string(value));
    }
    Return<void> echo(const Everything& value, echo_cb cb) override { return answer(cb, Everything(value)); }
    Return<void> makeBytes(uint32_t n, makeBytes_cb cb) override { return answer(cb, hidl_vec<uint8_t>(n)); }
    Return<void> makeText(uint32_t n, makeText_cb cb) override { return answer(cb, std::string(n, 't')); }
    Return<void> takeBytes(const hidl_vec<uint8_t>& data) override {
        return done("bytes " + std::to_string(data.size()));
    }
    Return<void> wait(int32_t number, const hidl_handle& gate) override {
        log("enter " + std::to_string(number));
        passGate(gate);
        return done("leave " + std::to_string(number));
    }
    Return<void> answerThenWait(const hidl_handle& gate, answerThenWait_cb cb) override {
        cb("early");
        passGate(gate);
        return Void();
    }
    Return<sp<IProbeCallback>> makeCallback() override {
        sp<Callback> callback = new Callback();
        callback->gone = [this] { log("callback gone"); };
        return sp<IProbeCallback>(callback);
    }
    Return<void> callBack(int32_t value, callBack_cb cb) override {
        int32_t result = -1;
        const int32_t status = call(getCallback(), value, &result);
        return answer(cb, result, status);
    }
    Return<void> callBackFromThread(const hidl_handle& gate) override {
        auto work = [this, target = sp<IProbeCallback>(getCallback()), own = hidl_handle(gate)] {
            int32_t ignored = 0;
            passGate(own);
            call(target, threadNumber(), &ignored);
        };
        std::lock_guard<std::mutex> lock(mutex_);
        threads_.emplace_back(work);
        return Void();
    }
    Return<void> events(events_cb cb) override {
        std::lock_guard<std::mutex> lock(mutex_);
        return answer(cb, events_);
    }
    Return<void> answerTimes(uint32_t times, answerTimes_cb cb) override {
        for (uint32_t i = 0; i < times; ++i) cb("answer");
        return Void();
    }
    Return<int32_t> returnError() override {
        return android::hardware::Status::fromStatusT(android::BAD_VALUE);
    }
    Return<void> whoServes(whoServes_cb cb) override {
        return answer(cb, android::hardware::IPCThreadState::self()->getCallingPid(), threadNumber());
    }
    Return<int32_t> registerAnother(const hidl_string& instance, uint32_t number) override {
        return sp<Probe>(new Probe(number))->registerAsService(instance);
    }
    Return<uint64_t> heapInUse() override {
        const struct mallinfo2 info = mallinfo2();
        return info.uordblks + info.hblkhd;
    }
    Return<uint32_t> number() override { return number_; }

  private:
    template <typename ResultCallback, typename... Results>
    static Return<void> answer(const ResultCallback& cb, const Results&... results) {
        cb(results...);
        return Void();
    }
    Return<void> done(const std::string& event) {
        log(event);
        return Void();
    }
    // Calls `target`. Returns and logs the status of the call.
    int32_t call(const sp<IProbeCallback>& target, int32_t value, int32_t* result) {
        Return<int32_t> called = target != nullptr ? target->onEvent(value) : Return<int32_t>(-1);
        const int32_t error = called.isDeadObject() ? android::DEAD_OBJECT : android::UNKNOWN_ERROR;
        const int32_t status = called.isOk() ? 0 : error;
        *result = called.withDefault(-1);
        log("answer " + std::to_string(status));
        return status;
    }

    const uint32_t number_;
    const sp<DeathRecipient> recipient_ = new DeathRecipient();
    std::atomic<uint32_t> marks_{0};
    std::mutex mutex_;  // guards the members below
    sp<IProbeCallback> callback_;
    std::vector<hidl_string> events_;
    std::vector<std::thread> threads_;
};

}  // namespace hidlaudio::test
