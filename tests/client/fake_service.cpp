// SPDX-License-Identifier: Apache-2.0
#include <com/tovi/dtv/hardware/audio/3.1/IOutputEncodingStatusListener.h>
#include <com/tovi/dtv/hardware/audio/3.1/IOutputExternal.h>
#include <hidl/HidlTransportSupport.h>
#include <unistd.h>

#include <string>

namespace {

using android::sp;
using android::hardware::hidl_handle;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::Return;
using android::hardware::Void;
using namespace com::tovi::dtv::hardware::audio;
using BaseListener = V2_0::IOutputEncodingStatusListener;

/**
 * A service that tests control with the formats that they set: each is added to the available formats, and
 * some have an additional effect.
 */
class FakeOutput : public V3_1::IOutputExternal {
  public:
    Return<int32_t> setForceEncodingEnabled(bool enable) override {
        if (result_ == 0) enabled_ = enable;
        return result_;
    }
    Return<bool> getForceEncodingEnabled() override { return enabled_; }

    Return<int32_t> setEncodingFormat(const hidl_string& format) override {
        if (format == "die") _exit(0);
        if (format == "refuse") result_ = -7;
        formats_.push_back(format == "huge" ? std::string(2 << 20, 'x') : std::string(format));
        return result_;
    }
    Return<void> getEncodingFormat(getEncodingFormat_cb callback) override {
        callback(formats_.empty() ? "auto" : formats_.back());
        return Void();
    }
    Return<void> getAvailableEncodingFormats(getAvailableEncodingFormats_cb callback) override {
        callback(formats_);
        return Void();
    }
    Return<int32_t> registerEncodingFormatListener(const sp<BaseListener>&) override { return 0; }
    Return<int32_t> unregisterEncodingFormatListener(const sp<BaseListener>&) override { return 0; }

    /** Writes the last format, unless that has an effect of its own. */
    Return<void> debug(const hidl_handle& fd, const hidl_vec<hidl_string>& options) override {
        const std::string format = formats_.empty() ? "" : std::string(formats_.back());
        std::string text = options.size() == 0 ? format : "{\"format\":\"" + format + "\"}";
        if (format == "long") text.assign(200000, 'x');
        if (format == "keep") (void)dup(fd->data[0]);
        (void)!write(fd->data[0], text.data(), text.size());
        if (format == "die in debug") _exit(0);
        if (format == "hang in debug") pause();
        return Void();
    }

  private:
    bool enabled_ = true;
    int32_t result_ = 0;
    std::vector<hidl_string> formats_;
};

class FakeListener : public V3_1::IOutputEncodingStatusListener {
  public:
    Return<void> onForceEncodingChanged(bool) override { return Void(); }
    Return<void> onEncodingFormatChanged(const hidl_string&) override { return Void(); }
};

}  // namespace

/** Registers the services named in the arguments, "external" or "listener", and serves them. */
int main(int argc, char** argv) {
    android::hardware::configureRpcThreadpool(1, true);
    for (int i = 1; i < argc; ++i) {
        const bool external = std::string(argv[i]) == "external";
        const android::status_t status =
            external ? (new FakeOutput())->registerAsService() : (new FakeListener())->registerAsService();
        if (status != android::OK) return 1;
    }
    android::hardware::joinRpcThreadpool();
    return 1;
}
