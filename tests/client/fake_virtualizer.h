// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <com/tovi/dtv/hardware/audio/5.1/IHeadphoneVirtualizer.h>
#include <unistd.h>

#include <string>

namespace hidlaudio::test {

/** Which a test scripts through the first byte that it uploads; any other ends well, at once. */
class FakeVirtualizer : public com::tovi::dtv::hardware::audio::V5_1::IHeadphoneVirtualizer {
    template <typename Type>
    using Return = android::hardware::Return<Type>;
    using String = android::hardware::hidl_string;
    using Callback = com::tovi::dtv::hardware::audio::V5_0::IHeadphoneVirtualizerCallback;
    using ParamType = com::tovi::dtv::hardware::audio::V5_0::ParamType;

  public:
    Return<int32_t> setVirtualizerEnabled(bool enable) override { return mEnabled = enable, 0; }
    Return<bool> getVirtualizerEnabled() override { return mEnabled; }
    Return<int32_t> setVirtualizerType(const String& type) override { return type == "Tovi" ? 0 : -5; }
    Return<void> getVirtualizerType(getVirtualizerType_cb callback) override {
        callback("Tovi");
        return android::hardware::Void();
    }
    Return<void> getAvailableVirtualizerTypes(getAvailableVirtualizerTypes_cb callback) override {
        callback({"Tovi", "b"});
        return android::hardware::Void();
    }
    Return<int32_t> setUpmixEnabled(bool enable) override { return enable ? -5 : 0; }
    Return<bool> getUpmixEnabled() override { return true; }

    Return<int32_t> allocateParameterBuffer(ParamType type, int32_t size) override {
        mData.clear();
        mSize = size;
        return type == ParamType::HRTF ? 7 : 8;
    }
    Return<int32_t> discardParameterBuffer(int32_t) override { return 0; }
    Return<int32_t> getMaxAppendSize() override { return 4; }
    Return<int32_t> append(int32_t, const android::hardware::hidl_vec<uint8_t>& data) override {
        if (data.size() > 4) return -2;
        mData.append(data.begin(), data.end());
        if (mData[0] == 'D' && mData.size() > 4) _exit(0);
        return 0;
    }
    Return<int32_t> apply(int32_t, const android::sp<Callback>& callback) override {
        mCallback = callback;
        if (mData.size() != static_cast<size_t>(mSize)) return -2;
        if (mData[0] == 'b') return -3;
        if (mData[0] == 'w') return 0;
        return mCallback->onApplyResult(mData[0] == 'r' ? -1 : 0).isOk() ? 0 : -5;
    }
    Return<int32_t> cancel(int32_t) override {
        if (mData == "wd") _exit(0);
        if (mData == "wait") return -4;
        return mCallback->onApplyResult(1).isOk() ? 0 : -4;
    }

  private:
    bool mEnabled = false;
    int32_t mSize = 0;
    std::string mData;
    android::sp<Callback> mCallback;
};

}  // namespace hidlaudio::test
