// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android/hidl/manager/1.0/IServiceNotification.h>

#include <string>

namespace android::hardware::transport {

/**
 * Tells `callback` of each registration of `interface` as `instance` (any where it is
 * empty), those that exist already before this returns, later ones on a thread of the
 * pool.
 *
 * @return false for no callback, or where the registry can't be watched (logged)
 */
bool notifyOfRegistrations(const std::string& interface, const std::string& instance,
                           const sp<hidl::manager::V1_0::IServiceNotification>& callback);

/** Ends what was asked for with `callback`; a notice that is under way may still come. */
void endNotifications(const sp<hidl::manager::V1_0::IServiceNotification>& callback);

}  // namespace android::hardware::transport
