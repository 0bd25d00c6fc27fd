// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android/hidl/manager/1.0/IServiceNotification.h>

#include <string>

namespace android::hardware::transport {

/**
 * Notifies `callback` of each registration of `interface` as `instance`: of existing ones before this
 * returns, of later ones on a pool thread. An empty `instance` stands for all instances.
 *
 * @return false if `callback` is null or the registry cannot be watched (logged)
 */
bool notifyOfRegistrations(const std::string& interface, const std::string& instance,
                           const sp<hidl::manager::V1_0::IServiceNotification>& callback);

/** Removes all requests of `callback`. A notification that is under way may still arrive. */
void endNotifications(const sp<hidl::manager::V1_0::IServiceNotification>& callback);

}  // namespace android::hardware::transport
