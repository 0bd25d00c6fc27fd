// SPDX-License-Identifier: Apache-2.0
#include "probe.h"

#include <hidl/HidlTransportSupport.h>
#include <hwbinder/IPCThreadState.h>
#include <malloc.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <numeric>

namespace hidlaudio::test {
namespace {

void passGate(const hidl_handle& gate) {
    if (gate == nullptr) return;
    char byte = 'e';
    if (write(gate->data[0], &byte, 1) == 1) (void)!read(gate->data[0], &byte, 1);
}

// The status of a call that went wrong, 0 otherwise; examines it.
template <typename T>
int32_t statusOf(const Return<T>& result) {
    if (result.isOk()) return 0;
    return result.isDeadObject() ? android::DEAD_OBJECT : android::UNKNOWN_ERROR;
}

}  // namespace

int32_t threadNumber() {
    return static_cast<int32_t>(syscall(SYS_gettid));
}

Probe::Probe(uint32_t number) : mNumber(number) {
    mMourner->died = [this](uint64_t cookie, const auto&) { log("died " + std::to_string(cookie)); };
}

Probe::~Probe() {
    for (std::thread& thread : mThreads) thread.join();
}

void Probe::log(const std::string& event) {
    constexpr size_t kMost = 500;
    std::lock_guard<std::mutex> lock(mMutex);
    if (mEvents.size() == kMost) mEvents.erase(mEvents.begin());
    mEvents.emplace_back(event);
}

sp<IProbeCallback> Probe::kept() {
    std::lock_guard<std::mutex> lock(mMutex);
    return mCallback;
}

Return<void> Probe::setCallback(const sp<IProbeCallback>& callback) {
    if (callback != nullptr) (void)callback->linkToDeath(mMourner, 42).isOk();
    sp<IProbeCallback> previous = callback;  // goes after the mutex is free
    std::lock_guard<std::mutex> lock(mMutex);
    std::swap(previous, mCallback);
    return Void();
}

Return<void> Probe::echoBytes(const hidl_vec<uint8_t>& data, echoBytes_cb callback) {
    callback(data);
    return Void();
}

Return<void> Probe::echoText(const hidl_string& text, echoText_cb callback) {
    callback(text);
    return Void();
}

Return<void> Probe::echoTexts(const hidl_vec<hidl_vec<hidl_string>>& texts, echoTexts_cb callback) {
    callback(hidl_vec<hidl_vec<hidl_string>>(texts));
    return Void();
}

Return<void> Probe::passCallbacks(const hidl_vec<sp<IProbeCallback>>& given, passCallbacks_cb callback) {
    callback(given, given.size() > 1 && android::hardware::interfacesEqual(given[0], given[1]));
    return Void();
}

Return<void> Probe::readFiles(const Files& files, readFiles_cb callback) {
    char content[64];
    const native_handle_t* first = files.first;
    const ssize_t size =
        first != nullptr && first->numFds > 0 ? pread(first->data[0], content, sizeof(content), 0) : 0;
    callback(hidl_string(content, size > 0 ? static_cast<size_t>(size) : 0), files);
    return Void();
}

Return<void> Probe::note(int32_t value, const hidl_handle& gate) {
    passGate(gate);
    log("note " + std::to_string(value));
    return Void();
}

Return<void> Probe::echo(const Everything& value, echo_cb callback) {
    callback(Everything(value));
    return Void();
}

Return<uint64_t> Probe::sumBytes(const hidl_vec<uint8_t>& data) {
    return std::accumulate(data.begin(), data.end(), uint64_t{0});
}

Return<void> Probe::makeBytes(uint32_t size, makeBytes_cb callback) {
    callback(hidl_vec<uint8_t>(size));
    return Void();
}

Return<void> Probe::makeText(uint32_t size, makeText_cb callback) {
    callback(std::string(size, 't'));
    return Void();
}

Return<void> Probe::takeBytes(const hidl_vec<uint8_t>& data) {
    log("bytes " + std::to_string(data.size()));
    return Void();
}

Return<void> Probe::wait(int32_t number, const hidl_handle& gate) {
    log("enter " + std::to_string(number));
    passGate(gate);
    log("leave " + std::to_string(number));
    return Void();
}

Return<void> Probe::answerThenWait(const hidl_handle& gate, answerThenWait_cb callback) {
    callback("early");
    passGate(gate);
    return Void();
}

Return<sp<IProbeCallback>> Probe::makeCallback() {
    sp<Callback> callback = new Callback();
    callback->gone = [this] { log("callback gone"); };
    return sp<IProbeCallback>(callback);
}

Return<void> Probe::callBack(int32_t value, callBack_cb callback) {
    sp<IProbeCallback> target = kept();
    Return<int32_t> answer = target != nullptr ? target->onEvent(value) : Return<int32_t>(-1);
    const int32_t status = statusOf(answer);
    log("answer " + std::to_string(status));
    callback(answer.withDefault(-1), status);
    return Void();
}

Return<void> Probe::callBackFromThread(const hidl_handle& gate) {
    auto work = [this, target = kept(), own = hidl_handle(gate)] {
        passGate(own);
        log("answer " + std::to_string(statusOf(target->onEvent(threadNumber()))));
    };
    std::lock_guard<std::mutex> lock(mMutex);
    mThreads.emplace_back(work);
    return Void();
}

Return<void> Probe::events(events_cb callback) {
    std::lock_guard<std::mutex> lock(mMutex);
    callback(mEvents);
    return Void();
}

Return<void> Probe::answerTimes(uint32_t times, answerTimes_cb callback) {
    for (uint32_t i = 0; i < times; ++i) callback("answer");
    return Void();
}

Return<int32_t> Probe::returnError() {
    return android::hardware::Status::fromStatusT(android::BAD_VALUE);
}

Return<void> Probe::whoServes(whoServes_cb callback) {
    callback(android::hardware::IPCThreadState::self()->getCallingPid(), threadNumber());
    return Void();
}

Return<int32_t> Probe::registerAnother(const hidl_string& instance, uint32_t number) {
    return sp<Probe>(new Probe(number))->registerAsService(instance);
}

Return<uint64_t> Probe::heapInUse() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

}  // namespace hidlaudio::test
