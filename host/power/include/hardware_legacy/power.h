// SPDX-License-Identifier: Apache-2.0
#pragma once

/** Wake locks: while one is held, the TV does not suspend. Any thread, any process. */
extern "C" {

enum { PARTIAL_WAKE_LOCK = 1 };

/**
 * Holds the wake lock named `id`; holding it twice is holding it once. Returns the
 * length of the name, or a negative errno: EINVAL for another `lock` than
 * PARTIAL_WAKE_LOCK and for a name that is null, empty, longer than 255 bytes or
 * not on one line; else what the kernel's file answered.
 */
int acquire_wake_lock(int lock, const char* id);

/**
 * Lets go of the wake lock named `id`; that it is not held is no failure. Returns
 * as acquire_wake_lock does.
 */
int release_wake_lock(const char* id);

}  // extern "C"
