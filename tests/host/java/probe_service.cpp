// SPDX-License-Identifier: Apache-2.0
// Serves IJavaProbe as the instance in its first argument until its input ends. Prints "ready".
#include <com/tovi/test/javaprobe/1.1/IJavaProbe.h>
#include <hidl/HidlTransportSupport.h>
#include <stdio.h>
#include <unistd.h>

#include <cmath>
#include <mutex>
#include <numeric>
#include <string>
#include <thread>
#include <vector>

namespace {

using android::sp;
using android::wp;
using android::hardware::hidl_death_recipient;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::Return;
using android::hardware::Void;
using android::hidl::base::V1_0::IBase;
using com::tovi::test::javaprobe::V1_0::Everything;
using com::tovi::test::javaprobe::V1_0::ICallback;
using com::tovi::test::javaprobe::V1_0::Vectors;
using Probe = com::tovi::test::javaprobe::V1_1::IJavaProbe;
using ParentProbe = com::tovi::test::javaprobe::V1_0::IJavaProbe;

int64_t callTimes(const sp<ICallback>& callback, int32_t times) {
    int64_t sum = 0;
    for (int32_t i = 0; callback != nullptr && i < times; ++i) {
        const Return<int32_t> answer = callback->onEvent(i);
        if (!answer.isOk()) return -1;
        sum += answer;
    }
    return sum;
}

/** Calls the methods of a Java service and collects the wrong results. */
class ServiceCheck {
  public:
    explicit ServiceCheck(sp<ParentProbe> service) : service_(std::move(service)) {}

    std::vector<hidl_string> run() {
        checkNumbers();
        checkStructures();
        checkTexts();
        checkBytes();
        check("note", service_->note(5).isOk());
        const Return<void> failed = service_->callBackLater(-1);  // throws in Java
        check("callBackLater of a negative number succeeded", !failed.isOk());
        check("callBackLater has killed the service", service_->ping().isOk());
        return problems_;
    }

  private:
    void check(const std::string& problem, bool good) {
        if (!good) problems_.emplace_back(problem);
    }

    void checkNumbers() {
        bool same = false;
        const auto compare = [&](bool truth, int8_t small, int16_t medium, int32_t large, int64_t huge,
                                 float real, double precise) {
            same = truth && small == INT8_MIN && medium == INT16_MIN && large == INT32_MIN &&
                   huge == INT64_MIN && real == 0.1f && std::isnan(precise);
        };
        const Return<void> called = service_->echoNumbers(true, INT8_MIN, INT16_MIN, INT32_MIN, INT64_MIN,
                                                          0.1f, std::nan(""), compare);
        check("echoNumbers", called.isOk() && same);
    }

    void checkStructures() {
        Everything value{};
        value.truth = true;
        value.huge = INT64_MAX;
        value.text = "ü";
        value.threeNumbers[1] = -2;
        value.twoTexts[1] = "two";
        value.truths = {true, false};
        value.numbers = {0.5, -1e300};
        value.item.name = "item";
        value.items.resize(300);
        for (size_t i = 0; i < value.items.size(); ++i) {
            value.items[i].notes = {std::to_string(i), ""};
            value.items[i].gains.resize(i);
        }
        bool same = false;
        const Return<void> called =
            service_->echo(value, [&](const Everything& got) { same = got == value; });
        check("echo", called.isOk() && same);
    }

    void checkTexts() {
        for (const std::string& text : {std::string(), std::string("a\0b", 3), std::string(100000, 'x')}) {
            std::string got = "nothing";
            const Return<void> called =
                service_->echoText(text, [&](const hidl_string& same) { got = same; });
            check("echoText of " + std::to_string(text.size()) + " bytes", called.isOk() && got == text);
        }
    }

    void checkBytes() {
        const hidl_vec<int8_t> data(std::vector<int8_t>(300000, -3));
        check("sumBytes", service_->sumBytes(data).withDefault(0) == -900000);
        size_t size = 0;
        const auto keep = [&](const hidl_vec<int8_t>& made) { size = made.size(); };
        check("makeBytes", service_->makeBytes(300000, keep).isOk() && size == 300000);
        check("too large a reply succeeded", !service_->makeBytes(1100000, keep).isOk());
    }

    const sp<ParentProbe> service_;
    std::vector<hidl_string> problems_;
};

class ProbeService : public Probe, public hidl_death_recipient {
  public:
    Return<void> echo(const Everything& value, echo_cb reply) override {
        reply(value);
        return Void();
    }
    Return<void> echoNumbers(bool truth, int8_t small, int16_t medium, int32_t large, int64_t huge,
                             float real, double precise, echoNumbers_cb reply) override {
        reply(truth, small, medium, large, huge, real, precise);
        return Void();
    }
    Return<void> echoText(const hidl_string& text, echoText_cb reply) override {
        reply(text);
        return Void();
    }
    Return<void> echoVectors(const hidl_vec<bool>& bools, const hidl_vec<int8_t>& int8s,
                             const hidl_vec<int16_t>& int16s, const hidl_vec<int32_t>& int32s,
                             const hidl_vec<int64_t>& int64s, const hidl_vec<float>& floats,
                             const hidl_vec<double>& doubles, const hidl_vec<hidl_string>& strings,
                             echoVectors_cb reply) override {
        reply(Vectors{bools, int8s, int16s, int32s, int64s, floats, doubles, strings});
        return Void();
    }
    Return<int64_t> sumBytes(const hidl_vec<int8_t>& data) override {
        return std::accumulate(data.begin(), data.end(), int64_t{0});
    }
    Return<void> makeBytes(int32_t size, makeBytes_cb reply) override {
        reply(std::vector<int8_t>(static_cast<size_t>(size), 7));
        return Void();
    }
    Return<void> takeBytes(const hidl_vec<int8_t>& data) override {
        log("took " + std::to_string(data.size()));
        return Void();
    }
    Return<void> setCallback(const sp<ICallback>& callback) override {
        callback_ = callback;
        if (callback != nullptr) (void)callback->linkToDeath(this, 0).withDefault(false);
        return Void();
    }
    Return<sp<ICallback>> getCallback() override { return callback_; }
    Return<int64_t> callBack(int32_t times) override { return callTimes(callback_, times); }
    Return<void> callBackLater(int32_t times) override {
        std::thread([callback = callback_, times] {
            const int64_t sum = callTimes(callback, times);
            if (callback != nullptr) (void)callback->onNotice(static_cast<int32_t>(sum)).isOk();
        }).detach();
        return Void();
    }
    Return<void> note(int32_t value) override {
        log("note " + std::to_string(value));
        return Void();
    }
    Return<void> events(events_cb reply) override {
        const std::lock_guard<std::mutex> lock(mutex_);
        reply(hidl_vec<hidl_string>(events_.begin(), events_.end()));
        return Void();
    }
    Return<void> useService(const hidl_string& instance, useService_cb reply) override {
        // On another thread, so that the caller serves the calls on its binder thread.
        std::thread([&] {
            const sp<ParentProbe> service = ParentProbe::tryGetService(instance);
            reply(service != nullptr ? hidl_vec<hidl_string>(ServiceCheck(service).run())
                                     : hidl_vec<hidl_string>{"not registered"});
        }).join();
        return Void();
    }
    Return<int32_t> number() override { return 11; }

    void serviceDied(uint64_t, const wp<IBase>&) override { log("died"); }

  private:
    void log(const std::string& event) {
        const std::lock_guard<std::mutex> lock(mutex_);
        events_.emplace_back(event);
    }

    sp<ICallback> callback_;
    std::mutex mutex_;
    std::vector<hidl_string> events_;
};

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    android::hardware::configureRpcThreadpool(2, false);
    const sp<Probe> service = new ProbeService();
    if (service->registerAsService(argv[1]) != android::OK) return 1;
    printf("ready\n");
    fflush(stdout);
    char byte;
    while (read(STDIN_FILENO, &byte, 1) > 0) {
    }
    _exit(0);
}
