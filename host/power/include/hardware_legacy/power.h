// SPDX-License-Identifier: Apache-2.0
#pragma once

/** Wake locks: while one is held, the TV does not suspend. Any thread of any process may use them. */
extern "C" {

enum { PARTIAL_WAKE_LOCK = 1 };

/**
 * Acquires the wake lock named `id`. Wake locks are not counted: acquiring a held lock has no effect. Returns
 * the length of the name, or a negative errno: -EINVAL if `lock` is not PARTIAL_WAKE_LOCK or if the name is
 * null, empty, longer than 255 bytes or contains a newline; otherwise the error of reading or writing the
 * list of held locks.
 */
int acquire_wake_lock(int lock, const char* id);

/**
 * Releases the wake lock named `id`. Succeeds if the lock is not held. Returns the same values as
 * acquire_wake_lock().
 */
int release_wake_lock(const char* id);

}  // extern "C"
