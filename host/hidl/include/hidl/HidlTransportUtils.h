// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android/hidl/base/1.0/IBase.h>
#include <hidl/Status.h>

#include <string>

namespace android::hardware::details {

/**
 * Returns whether `interface` implements the interface named `castTo`. Calls the other process if
 * the object is remote.
 *
 * @param emitError whether to return a transport error; otherwise it counts as false
 */
Return<bool> canCastInterface(hidl::base::V1_0::IBase* interface, const char* castTo, bool emitError = false);

/** Returns the name of the object's most derived interface, or an empty string (logged) on an error. */
std::string getDescriptor(hidl::base::V1_0::IBase* interface);

}  // namespace android::hardware::details
