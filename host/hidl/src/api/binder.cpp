// SPDX-License-Identifier: Apache-2.0
#include <hwbinder/Binder.h>

#include "host/hidl/src/connection/call.h"

namespace android::hardware {
namespace {

std::atomic<uint64_t> gExports{0};

}  // namespace

BHwBinder::BHwBinder() : onewayQueue_(std::make_unique<transport::OnewayQueue>()) {}

BHwBinder::~BHwBinder() = default;

status_t BHwBinder::transact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags,
                             TransactCallback callback) {
    return onTransact(code, data, reply, flags, std::move(callback));
}

status_t BHwBinder::linkToDeath(const sp<DeathRecipient>&, void*, uint32_t) {
    return INVALID_OPERATION;
}

status_t BHwBinder::unlinkToDeath(const wp<DeathRecipient>&, void*, uint32_t, wp<DeathRecipient>*) {
    return INVALID_OPERATION;
}

uint64_t BHwBinder::exportId() {
    uint64_t number = exportId_.load(std::memory_order_relaxed);
    if (number != 0) return number;
    uint64_t none = 0;
    const uint64_t fresh = ++gExports;
    return exportId_.compare_exchange_strong(none, fresh) ? fresh : none;
}

}  // namespace android::hardware
