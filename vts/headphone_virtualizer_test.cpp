// SPDX-License-Identifier: Apache-2.0
#include <com/tovi/dtv/hardware/audio/5.1/IHeadphoneVirtualizer.h>
#include <limits.h>

#include <atomic>
#include <functional>
#include <set>
#include <thread>

#include "support/client_process.h"
#include "support/events.h"
#include "support/options.h"
#include "support/services.h"

namespace tovi_audio_vts {
namespace {

using namespace ::com::tovi::dtv::hardware::audio;
using Kind = V5_0::ParamType;

constexpr int32_t kMaxAppend = 262144;
constexpr Kind kKinds[] = {Kind::DEVICE, Kind::HRTF};

struct ApplyCallback : V5_0::IHeadphoneVirtualizerCallback {
    Return<void> onApplyResult(int32_t result) override {
        thread = std::this_thread::get_id();
        if (inside) inside();
        results.add(result);
        return Void();
    }
    Events<int32_t> results;
    std::function<void()> inside;  // called before the result is added
    std::thread::id thread;        // on which the result arrived
};

/** The results of the methods that take a handle. */
struct HandleResults {
    int32_t append, apply, cancel, discard;

    bool operator==(const HandleResults& other) const {
        return append == other.append && apply == other.apply && cancel == other.cancel &&
               discard == other.discard;
    }
};

void PrintTo(const HandleResults& results, std::ostream* out) {
    *out << "append " << results.append << ", apply " << results.apply << ", cancel " << results.cancel
         << ", discard " << results.discard;
}

constexpr HandleResults kUnknownHandle = {-1, -1, -1, -1};

class HeadphoneVirtualizer : public ::testing::TestWithParam<Instance<V5_0::IHeadphoneVirtualizer>> {
  protected:
    void SetUp() override {
        service_ = GetParam().get(GetParam().name);
        ASSERT_NE(service_, nullptr);
        enabled_ = valueOf(service_->getVirtualizerEnabled());
        upmix_ = valueOf(service_->getUpmixEnabled());
        hasController_ = valueOf(service_->setUpmixEnabled(upmix_)) != -5;
    }
    void TearDown() override {
        if (service_ == nullptr) return;
        for (const int32_t handle : handles_) (void)discard(handle);
        if (!hasController_) return;
        EXPECT_EQ(valueOf(service_->setVirtualizerEnabled(enabled_)), 0);
        EXPECT_EQ(valueOf(service_->setUpmixEnabled(upmix_)), 0);
    }

    int32_t allocate(Kind type, int32_t size) {
        const int32_t handle = valueOf(service_->allocateParameterBuffer(type, size));
        if (handle != 0) handles_.insert(handle);
        return handle;
    }
    int32_t append(int32_t handle, size_t bytes) const {
        return valueOf(service_->append(handle, hidl_vec<uint8_t>(std::vector<uint8_t>(bytes))));
    }
    int32_t apply(int32_t handle, const sp<ApplyCallback>& callback) const {
        return valueOf(service_->apply(handle, callback));
    }
    int32_t cancel(int32_t handle) const { return valueOf(service_->cancel(handle)); }
    int32_t discard(int32_t handle) const { return valueOf(service_->discardParameterBuffer(handle)); }
    HandleResults callAll(int32_t handle) const {
        return {append(handle, 0), apply(handle, new ApplyCallback), cancel(handle), discard(handle)};
    }

    /** Allocates a buffer and fills it. */
    int32_t fill(Kind type, size_t bytes) {
        const int32_t handle = allocate(type, static_cast<int32_t>(bytes));
        for (size_t left = bytes; left > 0;) {
            const size_t step = std::min<size_t>(left, kMaxAppend);
            EXPECT_EQ(append(handle, step), 0);
            left -= step;
        }
        return handle;
    }
    int32_t fillLong(Kind type) { return fill(type, options().uploadBytes); }

    sp<V5_0::IHeadphoneVirtualizer> service_;
    std::set<int32_t> handles_;
    bool enabled_ = false;
    bool upmix_ = false;
    bool hasController_ = false;
};

#define SKIP_WITHOUT_CONTROLLER() \
    if (!hasController_) GTEST_SKIP() << "this TV has no back-end audio controller"
#define SKIP_WITHOUT_UPLOADS() \
    SKIP_WITHOUT_CONTROLLER(); \
    if (options().uploadBytes == 0) GTEST_SKIP() << "needs --upload-bytes: parameters must be uploaded"

TEST_P(HeadphoneVirtualizer, setVirtualizerEnabled_SwitchesOnAndOff) {
    SKIP_WITHOUT_CONTROLLER();
    for (const bool enable : {true, true, false, false, true}) {
        EXPECT_EQ(valueOf(service_->setVirtualizerEnabled(enable)), 0);
        EXPECT_EQ(valueOf(service_->getVirtualizerEnabled()), enable);
        EXPECT_EQ(valueOf(service_->getUpmixEnabled()), upmix_);
    }
}

TEST_P(HeadphoneVirtualizer, setUpmixEnabled_SwitchesOnAndOff) {
    SKIP_WITHOUT_CONTROLLER();
    for (const bool enable : {false, false, true, true, false}) {
        EXPECT_EQ(valueOf(service_->setUpmixEnabled(enable)), 0);
        EXPECT_EQ(valueOf(service_->getUpmixEnabled()), enable);
        EXPECT_EQ(valueOf(service_->getVirtualizerEnabled()), enabled_);
    }
}

TEST_P(HeadphoneVirtualizer, getVirtualizerEnabled_IsFalseWithoutController) {
    if (hasController_) GTEST_SKIP() << "this TV has a back-end audio controller";
    for (const bool enable : {true, false}) {
        EXPECT_EQ(valueOf(service_->setVirtualizerEnabled(enable)), -5);
        EXPECT_FALSE(valueOf(service_->getVirtualizerEnabled()));
    }
}

TEST_P(HeadphoneVirtualizer, getUpmixEnabled_IsFalseWithoutController) {
    if (hasController_) GTEST_SKIP() << "this TV has a back-end audio controller";
    for (const bool enable : {true, false}) {
        EXPECT_EQ(valueOf(service_->setUpmixEnabled(enable)), -5);
        EXPECT_FALSE(valueOf(service_->getUpmixEnabled()));
    }
}

TEST_P(HeadphoneVirtualizer, getVirtualizerType_IsTovi) {
    EXPECT_EQ(resultOf<hidl_string>([&](auto callback) { return service_->getVirtualizerType(callback); }),
              "Tovi");
}

TEST_P(HeadphoneVirtualizer, getAvailableVirtualizerTypes_IsToviAlone) {
    EXPECT_EQ(namesOf([&](auto callback) { return service_->getAvailableVirtualizerTypes(callback); }),
              Names{"Tovi"});
}

TEST_P(HeadphoneVirtualizer, setVirtualizerType_AcceptsOnlyTovi) {
    EXPECT_EQ(valueOf(service_->setVirtualizerType("Tovi")), 0);
    for (const std::string type : {"", "tovi", "TOVI", "Tov", "Tovi ", "Tovi2", "other"}) {
        EXPECT_EQ(valueOf(service_->setVirtualizerType(type)), -5) << type;
    }
}

TEST_P(HeadphoneVirtualizer, getMaxAppendSize_Is262144) {
    EXPECT_EQ(valueOf(service_->getMaxAppendSize()), kMaxAppend);
}

TEST_P(HeadphoneVirtualizer, allocateParameterBuffer_HandlesAreReusedButUnique) {
    const int32_t other = allocate(Kind::HRTF, 1);
    std::set<int32_t> handles;
    int32_t last = other;
    for (int i = 0; i < 600; ++i) {
        const int32_t handle = allocate(Kind::DEVICE, 1);
        ASSERT_GE(handle, 1);
        ASSERT_LE(handle, 254);
        ASSERT_NE(handle, other) << "the handle of the other buffer";
        ASSERT_NE(handle, last) << "the handle of the discarded buffer";
        last = handle;
    }
    EXPECT_EQ(append(other, 1), 0);
    EXPECT_EQ(append(last, 1), 0);
}

TEST_P(HeadphoneVirtualizer, allocateParameterBuffer_ReplacesBufferOfSameKind) {
    for (const Kind kind : kKinds) {
        const Kind otherKind = kind == Kind::DEVICE ? Kind::HRTF : Kind::DEVICE;
        const int32_t other = allocate(otherKind, 10);
        const int32_t first = allocate(kind, 10);
        const int32_t second = allocate(kind, 20);
        EXPECT_EQ(callAll(first), kUnknownHandle);
        EXPECT_EQ(append(second, 20), 0);
        EXPECT_EQ(append(other, 10), 0);
    }
}

TEST_P(HeadphoneVirtualizer, allocateParameterBuffer_RefusesUnknownKinds) {
    const int32_t device = allocate(Kind::DEVICE, 10);
    const int32_t hrtf = allocate(Kind::HRTF, 10);
    for (const int32_t kind : {2, -1, 256, INT_MAX, INT_MIN}) {
        EXPECT_EQ(allocate(static_cast<Kind>(kind), 10), 0) << kind;
    }
    EXPECT_EQ(append(device, 10), 0);
    EXPECT_EQ(append(hrtf, 10), 0);
}

TEST_P(HeadphoneVirtualizer, allocateParameterBuffer_NegativeSizeDiscardsOlderBuffer) {
    for (const Kind kind : kKinds) {
        for (const int32_t size : {-1, INT_MIN}) {
            const int32_t older = allocate(kind, 10);
            EXPECT_EQ(allocate(kind, size), 0) << size;
            EXPECT_EQ(callAll(older), kUnknownHandle);
        }
    }
}

TEST_P(HeadphoneVirtualizer, allocateParameterBuffer_SizeZeroIsFullAtOnce) {
    const int32_t handle = allocate(Kind::DEVICE, 0);
    ASSERT_NE(handle, 0);
    EXPECT_EQ(append(handle, 0), 0);
    EXPECT_EQ(append(handle, 1), -2);
    EXPECT_EQ(apply(handle, nullptr), -5);
}

TEST_P(HeadphoneVirtualizer, discardParameterBuffer_FreesHandle) {
    for (const Kind kind : kKinds) {
        for (const size_t bytes : {size_t{0}, size_t{4}, size_t{10}}) {  // empty, half filled and full
            const int32_t handle = allocate(kind, 10);
            EXPECT_EQ(append(handle, bytes), 0);
            EXPECT_EQ(discard(handle), 0);
            EXPECT_EQ(callAll(handle), kUnknownHandle);
        }
    }
}

TEST_P(HeadphoneVirtualizer, discardParameterBuffer_AndOthersRefuseUnknownHandles) {
    const int32_t device = allocate(Kind::DEVICE, 1);
    const int32_t hrtf = allocate(Kind::HRTF, 1);
    for (const int32_t handle : {0, -1, 255, 256, 256 + device, 256 + hrtf, INT_MAX, INT_MIN}) {
        EXPECT_EQ(callAll(handle), kUnknownHandle) << handle;
    }
    EXPECT_EQ(append(0, kMaxAppend + 1), -1);
    EXPECT_EQ(apply(0, nullptr), -1);
}

TEST_P(HeadphoneVirtualizer, append_FillsBufferInOrder) {
    const int32_t handle = allocate(Kind::HRTF, 10);
    EXPECT_EQ(append(handle, 6), 0);
    EXPECT_EQ(append(handle, 5), -2);
    EXPECT_EQ(append(handle, 0), 0);
    EXPECT_EQ(apply(handle, new ApplyCallback), -2) << "a refused piece must not count";
    EXPECT_EQ(append(handle, 4), 0);
    EXPECT_EQ(append(handle, 1), -2);
    EXPECT_EQ(append(handle, 0), 0);
    EXPECT_EQ(apply(handle, nullptr), -5) << "the buffer is full";
}

TEST_P(HeadphoneVirtualizer, append_RefusesTooLargePieces) {
    const int32_t handle = allocate(Kind::DEVICE, 2 * kMaxAppend + 1);
    EXPECT_EQ(append(handle, kMaxAppend + 1), -2);
    EXPECT_EQ(append(handle, kMaxAppend), 0);
    EXPECT_EQ(append(handle, 2 * kMaxAppend), -2);
    EXPECT_EQ(append(handle, kMaxAppend), 0);
    EXPECT_EQ(append(handle, 1), 0) << "refused pieces must not count";
    EXPECT_EQ(append(handle, 1), -2);
}

TEST_P(HeadphoneVirtualizer, apply_RefusesBufferThatIsNotFull) {
    for (const Kind kind : kKinds) {
        const int32_t handle = allocate(kind, 10);
        EXPECT_EQ(append(handle, 9), 0);
        EXPECT_EQ(apply(handle, new ApplyCallback), -2);
        EXPECT_EQ(apply(handle, nullptr), -2);
        EXPECT_EQ(append(handle, 1), 0) << "the buffer must be as before";
    }
}

TEST_P(HeadphoneVirtualizer, apply_RefusesNullCallback) {
    const int32_t handle = fill(Kind::HRTF, 3);
    EXPECT_EQ(apply(handle, nullptr), -5);
    EXPECT_EQ(append(handle, 0), 0) << "the buffer must be as before";
    EXPECT_EQ(append(handle, 1), -2);
    EXPECT_EQ(cancel(handle), -4);
    EXPECT_EQ(discard(handle), 0);
}

TEST_P(HeadphoneVirtualizer, apply_FailsWithoutController) {
    if (hasController_) GTEST_SKIP() << "this TV has a back-end audio controller";
    const int32_t handle = fill(Kind::DEVICE, 3);
    const sp<ApplyCallback> callback = new ApplyCallback;
    for (int i = 0; i < 2; ++i) EXPECT_EQ(apply(handle, callback), -5) << i;
    EXPECT_EQ(cancel(handle), -4);
    EXPECT_EQ(discard(handle), 0);
    EXPECT_EQ(callback->results.count(), 0u);
}

TEST_P(HeadphoneVirtualizer, apply_ReportsResultOnceAndFreesHandle) {
    SKIP_WITHOUT_UPLOADS();
    for (const Kind kind : kKinds) {
        for (const size_t bytes : {size_t{1}, options().uploadBytes}) {
            const sp<ApplyCallback> callback = new ApplyCallback;
            const int32_t handle = fill(kind, bytes);
            EXPECT_EQ(apply(handle, callback), 0);
            EXPECT_EQ(callback->results.next(), 0);
            EXPECT_NE(callback->thread, std::this_thread::get_id());
            // The upload lasts until the service has noticed that the callback has returned.
            const int32_t next = allocate(kind, 1);
            EXPECT_NE(next, 0);
            EXPECT_EQ(callAll(handle), kUnknownHandle);
            EXPECT_EQ(callback->results.count(), 0u);
        }
    }
}

TEST_P(HeadphoneVirtualizer, apply_RefusesBufferThatIsBeingUploaded) {
    SKIP_WITHOUT_UPLOADS();
    for (const Kind kind : kKinds) {
        const sp<ApplyCallback> callback = new ApplyCallback;
        const sp<ApplyCallback> second = new ApplyCallback;
        const int32_t handle = fillLong(kind);
        EXPECT_EQ(apply(handle, callback), 0);
        EXPECT_EQ(apply(handle, second), -3);
        EXPECT_EQ(append(handle, 0), -3);
        EXPECT_EQ(append(handle, 1), -3);
        ASSERT_EQ(callback->results.count(), 0u) << "the upload has ended too soon";
        EXPECT_EQ(callback->results.next(), 0);
        EXPECT_EQ(second->results.count(), 0u);
    }
}

TEST_P(HeadphoneVirtualizer, apply_UploadsKindsOneAfterTheOther) {
    SKIP_WITHOUT_UPLOADS();
    for (const Kind first : kKinds) {
        const Kind second = first == Kind::DEVICE ? Kind::HRTF : Kind::DEVICE;
        Events<Kind> ends;
        const sp<ApplyCallback> callbacks[2] = {new ApplyCallback, new ApplyCallback};
        callbacks[0]->inside = [&] { ends.add(first); };
        callbacks[1]->inside = [&] { ends.add(second); };
        const int32_t handles[2] = {fillLong(first), fill(second, 1)};
        EXPECT_EQ(apply(handles[0], callbacks[0]), 0);
        usleep(100000);  // the service may take a moment until the first upload has begun
        EXPECT_EQ(apply(handles[1], callbacks[1]), 0);
        EXPECT_EQ(callbacks[0]->results.next(), 0);
        EXPECT_EQ(callbacks[1]->results.next(), 0);
        EXPECT_EQ(ends.next(), first) << "the short upload must wait for the long one";
    }
}

TEST_P(HeadphoneVirtualizer, cancel_RefusesBufferThatIsNotBeingUploaded) {
    for (const Kind kind : kKinds) {
        const int32_t handle = allocate(kind, 2);
        EXPECT_EQ(cancel(handle), -4);
        EXPECT_EQ(append(handle, 2), 0);
        EXPECT_EQ(cancel(handle), -4);
        EXPECT_EQ(append(handle, 0), 0) << "the buffer must be as before";
    }
}

TEST_P(HeadphoneVirtualizer, cancel_EndsUpload) {
    SKIP_WITHOUT_UPLOADS();
    for (const Kind kind : kKinds) {
        const sp<ApplyCallback> callback = new ApplyCallback;
        const int32_t handle = fillLong(kind);
        EXPECT_EQ(apply(handle, callback), 0);
        usleep(100000);  // the service may take a moment until the upload has begun
        ASSERT_EQ(callback->results.count(), 0u) << "the upload has ended too soon";
        EXPECT_EQ(cancel(handle), 0);
        EXPECT_EQ(callback->results.next(), 1);
        EXPECT_NE(allocate(kind, 1), 0);
        EXPECT_EQ(callAll(handle), kUnknownHandle);
        EXPECT_EQ(callback->results.count(), 0u);
    }
}

TEST_P(HeadphoneVirtualizer, cancel_EndsUploadThatWaitsForTheOtherKind) {
    SKIP_WITHOUT_UPLOADS();
    for (const Kind first : kKinds) {
        const Kind second = first == Kind::DEVICE ? Kind::HRTF : Kind::DEVICE;
        const sp<ApplyCallback> running = new ApplyCallback;
        const sp<ApplyCallback> waiting = new ApplyCallback;
        const int32_t handles[2] = {fillLong(first), fillLong(second)};
        EXPECT_EQ(apply(handles[0], running), 0);
        usleep(100000);
        EXPECT_EQ(apply(handles[1], waiting), 0);
        EXPECT_EQ(cancel(handles[1]), 0);
        EXPECT_EQ(waiting->results.next(), 1);
        EXPECT_EQ(running->results.next(), 0) << "the other upload must continue";
    }
}

TEST_P(HeadphoneVirtualizer, discardParameterBuffer_CancelsUpload) {
    SKIP_WITHOUT_UPLOADS();
    for (const Kind kind : kKinds) {
        const sp<ApplyCallback> callback = new ApplyCallback;
        const int32_t handle = fillLong(kind);
        EXPECT_EQ(apply(handle, callback), 0);
        usleep(100000);
        EXPECT_EQ(discard(handle), 0);
        ASSERT_EQ(callback->results.count(), 1u) << "the upload must have ended";
        EXPECT_EQ(callback->results.next(), 1);
        EXPECT_EQ(callAll(handle), kUnknownHandle);
    }
}

TEST_P(HeadphoneVirtualizer, allocateParameterBuffer_CancelsUploadOfSameKind) {
    SKIP_WITHOUT_UPLOADS();
    for (const Kind kind : kKinds) {
        const sp<ApplyCallback> callback = new ApplyCallback;
        const int32_t older = fillLong(kind);
        EXPECT_EQ(apply(older, callback), 0);
        usleep(100000);
        const int32_t handle = allocate(kind, 3);
        EXPECT_NE(handle, 0);
        ASSERT_EQ(callback->results.count(), 1u) << "the upload must have ended";
        EXPECT_EQ(callback->results.next(), 1);
        EXPECT_EQ(callAll(older), kUnknownHandle);
        EXPECT_EQ(append(handle, 3), 0);
    }
}

TEST_P(HeadphoneVirtualizer, onApplyResult_UploadIsOverForCallsFromInside) {
    SKIP_WITHOUT_UPLOADS();
    const sp<ApplyCallback> callback = new ApplyCallback;
    const sp<ApplyCallback> next = new ApplyCallback;
    const int32_t handle = fill(Kind::HRTF, 1);
    HandleResults results{};
    std::atomic<bool> ended{false};
    bool endedFirst = false;
    callback->inside = [&] {
        results = callAll(handle);
        callAllServices();
        const int32_t second = fill(Kind::HRTF, 1);
        EXPECT_EQ(apply(second, next), 0);
        usleep(100000);
        ended = true;
    };
    next->inside = [&] { endedFirst = ended; };
    EXPECT_EQ(apply(handle, callback), 0);
    EXPECT_EQ(callback->results.next(), 0);
    EXPECT_EQ(results, (HandleResults{-1, -1, -1, 0}));
    EXPECT_EQ(next->results.next(), 0);
    EXPECT_TRUE(endedFirst) << "the second upload begins when the callback has returned";
}

TEST_P(HeadphoneVirtualizer, onApplyResult_UploadLastsForOthersUntilItReturns) {
    SKIP_WITHOUT_UPLOADS();
    const sp<ApplyCallback> callback = new ApplyCallback;
    const int32_t handle = fill(Kind::DEVICE, 1);
    Events<bool> begun;
    std::atomic<bool> ended{false};
    callback->inside = [&] {
        begun.add(true);
        usleep(300000);
        ended = true;
    };
    EXPECT_EQ(apply(handle, callback), 0);
    ASSERT_EQ(begun.next(), true);
    const bool busy = append(handle, 0) == -3;
    EXPECT_TRUE(busy || ended);
    EXPECT_NE(allocate(Kind::DEVICE, 1), 0);
    EXPECT_TRUE(ended) << "the new buffer must wait until the callback has returned";
    EXPECT_EQ(callback->results.next(), 0);
}

TEST_P(HeadphoneVirtualizer, discardParameterBuffer_BufferOutlivesItsClient) {
    ClientProcess client("buffer", GetParam().name);
    client.kill();
    EXPECT_EQ(append(client.handle(), 2), -2);
    EXPECT_EQ(append(client.handle(), 1), 0);
    EXPECT_EQ(discard(client.handle()), 0);
}

TEST_P(HeadphoneVirtualizer, apply_UploadOutlivesItsClient) {
    SKIP_WITHOUT_UPLOADS();
    ClientProcess client("upload", GetParam().name);
    client.kill();
    EXPECT_EQ(append(client.handle(), 0), -3) << "the upload must continue, and last longer than this";
    const sp<ApplyCallback> callback = new ApplyCallback;
    EXPECT_EQ(discard(client.handle()), 0);
    EXPECT_EQ(apply(fill(Kind::HRTF, 1), callback), 0);
    EXPECT_EQ(callback->results.next(), 0);
}

TEST_P(HeadphoneVirtualizer, cancel_AnyClientMayUseTheHandle) {
    SKIP_WITHOUT_UPLOADS();
    ClientProcess client("upload", GetParam().name);
    usleep(100000);
    EXPECT_EQ(cancel(client.handle()), 0);
    EXPECT_EQ(client.nextLine(), "result 1");
}

TEST_P(HeadphoneVirtualizer, Restart_ForgetsSwitchesAndBuffers) {
    SKIP_WITHOUT_RESTART();
    if (hasController_) {
        EXPECT_EQ(valueOf(service_->setVirtualizerEnabled(true)), 0);
        EXPECT_EQ(valueOf(service_->setUpmixEnabled(false)), 0);
    }
    const int32_t handle = fill(Kind::HRTF, 1);
    service_ = restart(GetParam(), service_);
    ASSERT_NE(service_, nullptr);
    EXPECT_FALSE(valueOf(service_->getVirtualizerEnabled()));
    EXPECT_EQ(valueOf(service_->getUpmixEnabled()), hasController_);
    EXPECT_EQ(callAll(handle), kUnknownHandle);
}

TEST_P(HeadphoneVirtualizer, Restart_EndsUploadWithoutCallback) {
    SKIP_WITHOUT_RESTART();
    SKIP_WITHOUT_UPLOADS();
    const sp<ApplyCallback> callback = new ApplyCallback;
    EXPECT_EQ(apply(fillLong(Kind::HRTF), callback), 0);
    service_ = restart(GetParam(), service_);
    ASSERT_NE(service_, nullptr);
    EXPECT_EQ(valueOf(service_->setVirtualizerType("Tovi")), 0);
    EXPECT_EQ(callback->results.count(), 0u);
}

INSTANTIATE(IHeadphoneVirtualizer, HeadphoneVirtualizer, V5_0::IHeadphoneVirtualizer,
            V5_1::IHeadphoneVirtualizer);

}  // namespace
}  // namespace tovi_audio_vts
