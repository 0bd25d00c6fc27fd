// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** A system property. On a workstation, its value is that of the file properties/<name> of the TV. */
typedef struct prop_info prop_info;

/** Returns the property, or null if it is not set. The result stays valid for the life of the process. */
const prop_info* __system_property_find(const char* name);

/**
 * Calls `callback` with the property's value. Unlike on the platform, a value may be of any length, and it is
 * an empty string if the property is no longer set.
 */
void __system_property_read_callback(const prop_info* property,
                                     void (*callback)(void* cookie, const char* name, const char* value,
                                                      uint32_t serial),
                                     void* cookie);

#ifdef __cplusplus
}
#endif
