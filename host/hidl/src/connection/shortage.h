// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <errno.h>

namespace android::hardware::transport {

/** Returns whether `error` means that the process or the system lacks descriptors or memory. */
inline bool isShortage(int error) {
    return error == EMFILE || error == ENFILE || error == ENOMEM || error == ENOBUFS;
}

/**
 * If `error` is a shortage, logs it and stores it for this thread's next takeShortage(). It is for
 * functions that only return whether something was found: a shortage may have hidden it.
 *
 * @param what the failed operation, for the log
 */
void noteShortage(const char* what, int error);

/** Returns this thread's last shortage since the previous call as a negative status, or 0 if none. */
int takeShortage();

}  // namespace android::hardware::transport
