// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android/hidl/base/1.0/IBase.h>
#include <hidl/Status.h>

#include <string>

namespace android::hardware::details {

/**
 * Whether `interface` implements the interface named `castTo`. Asks the other
 * process where the object is remote.
 *
 * @param emitError give the transport's error back; otherwise it counts as no
 */
Return<bool> canCastInterface(hidl::base::V1_0::IBase* interface, const char* castTo, bool emitError = false);

/** Name of the object's most derived interface, empty on an error. */
std::string getDescriptor(hidl::base::V1_0::IBase* interface);

}  // namespace android::hardware::details
