// SPDX-License-Identifier: Apache-2.0
#include "connection.h"

using android::sp;
using android::wp;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::Return;
using android::hardware::Void;
using android::hidl::base::V1_0::IBase;

namespace {

class Listener : public audio::V1_1::IHdmiAudioCallback, public android::hardware::hidl_death_recipient {
  public:
    explicit Listener(const sp<Events>& events, uint64_t link) : events_(events), link_(link) {}

    Return<void> onCapabilityChanged(const hidl_vec<hidl_string>& names) override {
        std::string text;
        for (const hidl_string& name : names) text += " " + std::string(name);
        events_->add({Event::Kind::Changed, text, 0, link_});
        return Void();
    }

    void serviceDied(uint64_t link, const wp<IBase>&) override {
        events_->add({Event::Kind::Died, "", 0, link});
    }

  private:
    const sp<Events> events_;
    const uint64_t link_;
};

/** Links to the death of a service. Returns false if it has died already. */
bool linkToDeath(const sp<IBase>& service, const sp<Listener>& listener, uint64_t cookie) {
    const Return<bool> linked = service->linkToDeath(listener, cookie);
    return linked.isOk() && linked;
}

}  // namespace

Connection connect(const sp<Events>& events, uint64_t number) {
    // Another number for each attempt: the notices of a failed one must not end the connection.
    for (;; ++number) {
        const sp<Listener> listener = new Listener(events, number);
        // getService() waits until the service is registered. It returns null if the TV does not declare it.
        Connection connection{audio::V3_1::IHdmiAudio::getService(),
                              audio::V5_1::IHeadphoneVirtualizer::getService(), number, listener};
        if (connection.hdmi == nullptr || connection.virtualizer == nullptr) return {};
        // Link first: if the service dies after that, there is a notice.
        if (!linkToDeath(connection.hdmi, listener, number)) continue;
        if (!linkToDeath(connection.virtualizer, listener, number)) continue;
        if (!connection.hdmi->setCallback(listener).isOk()) continue;
        return connection;
    }
}
