// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <errno.h>

namespace android::hardware::transport {

/** Whether `error` means that the process, or the system, has no more of something. */
inline bool isShortage(int error) {
    return error == EMFILE || error == ENFILE || error == ENOMEM || error == ENOBUFS;
}

/**
 * Logs and remembers `error`, if it is a shortage, for the thread's next takeShortage():
 * functions that only return whether something was found may have missed it for that reason.
 *
 * @param what what could not be done
 */
void noteShortage(const char* what, int error);

/** The last shortage of this thread since the last call, as a negative status; 0 if there was none. */
int takeShortage();

}  // namespace android::hardware::transport
