// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "middleware_lock.h"

/**
 * The functions of the SoC vendor's TV middleware that the daemon calls. The
 * vendor's libraries (libmtal, libapp_if, librpc_ipc, libapp_if_rpc, libdtv_osai,
 * libcmpb, libhandle_app) have no headers that a vendor service may include,
 * so all functions are declared in this file.
 *
 * All are C functions that block until the TV platform service has answered. Unless
 * noted otherwise the result is a status, 0 for success. Any thread that holds the lock;
 * the middleware is shared with other processes.
 */
using com::tovi::dtv::hardware::audio::platform::middlewareLock;  // g++ accepts only simple names in REQUIRES

extern "C" {

/** Opens the playback control. The daemon ignores the status. */
int32_t IMtkPb_Ctrl_Init(void) REQUIRES(middlewareLock);

/** Opens the middleware connection. `callback` is optional; the daemon passes null. */
int32_t MTAL_InitExCb(void* callback) REQUIRES(middlewareLock);

/** Opens the driver layer. The daemon ignores the status. */
int32_t DRV_Init(void) REQUIRES(middlewareLock);

/** Opens the middleware connection of the driver layer, right after DRV_Init. */
int32_t MTAL_Init(void) REQUIRES(middlewareLock);

/**
 * Reads a value of the configuration store. `scope` is always -1. After a failure
 * `*value` must not be used: it may have been overwritten.
 */
int32_t a_mtktvapi_config_get_value(int32_t scope, const char* key, int32_t* value) REQUIRES(middlewareLock);

/**
 * Writes a value of the configuration store. `scope` is always -1; `mode` is 7 or 4,
 * depending on the key.
 */
int32_t a_mtktvapi_config_set_value(int32_t scope, const char* key, int32_t value, int32_t mode)
    REQUIRES(middlewareLock);

/** Reads the delay of the main channel to the speakers, in the decoder's own unit. */
int32_t MTAUDDEC_GetChannelMainDelaySp(uint32_t* delay) REQUIRES(middlewareLock);

/** Sets the equalizer of the audio decoder: 32 gains in dB. */
int32_t MTAUDDEC_Set32EqualizerBandConfig(const float* gains) REQUIRES(middlewareLock);

/** Sets the volume offset of the audio decoder, in tenths of a dB. */
int32_t MTAUDDEC_SetAcVolumeOffset(int8_t offset) REQUIRES(middlewareLock);

/**
 * A request to the audio post-processor: the identifier of the parameter, the number of
 * answer words, and the address to which they are written. The rest is zero.
 */
struct MTAUDPOST_Request {
    uint32_t parameter;
    uint32_t count;
    uint32_t* answer;
    uint8_t reserved[56 - sizeof(uint32_t*)];
};
static_assert(sizeof(MTAUDPOST_Request) == 64, "the request is passed by value");
static_assert(offsetof(MTAUDPOST_Request, answer) == 8, "the answer's address follows the count");

/** Reads a parameter of the audio post-processor. */
int32_t MTAUDPOST_GetParameters(MTAUDPOST_Request request) REQUIRES(middlewareLock);

/** Properties of the EEPROM. The daemon does not use them. */
struct MTEEPROM_Property {
    uint32_t words[2];
};
static_assert(sizeof(MTEEPROM_Property) == 8, "the middleware fills eight bytes");

/** Reads the EEPROM's properties. Must be called before MTEEPROM_Init. */
int32_t MTEEPROM_GetProperty(MTEEPROM_Property* property) REQUIRES(middlewareLock);

/** Prepares the EEPROM for reading. */
int32_t MTEEPROM_Init(void) REQUIRES(middlewareLock);

/** Reads `length` bytes from byte address `address` of the EEPROM. */
int32_t MTEEPROM_Read(uint32_t address, void* destination, uint32_t length) REQUIRES(middlewareLock);

/**
 * Reads a custom-spec record. `record` holds the request and receives the answer;
 * `*size` is the record's size in bytes.
 */
int32_t MTDRVCUST_dcustom_cust_spec_get(uint32_t identifier, void* record, uint32_t* size)
    REQUIRES(middlewareLock);

/** Writes a custom-spec record of `size` bytes; `flags` is 0. */
int32_t MTDRVCUST_dcustom_cust_spec_set(uint32_t identifier, const void* record, uint32_t size,
                                        uint32_t flags) REQUIRES(middlewareLock);

}  // extern "C"
