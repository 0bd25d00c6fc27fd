// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <hidl/HidlSupport.h>

#include <vector>

/**
 * The recorder writes the HIDL calls of one process to a file, a line of JSON for the start of a call and one
 * for its end; docs/recording.md describes them. Properties switch it on and off (settings.h). If the file
 * cannot be written, the record ends with a note, and the process continues.
 *
 * A library that an instrumented process loads (see HidlInstrumentor) has an entry point for each interface
 * of its package, which is generated.
 */
namespace hidlaudio::recorder {

using android::hardware::details::HidlInstrumentor;

/**
 * Records an event of an object. Any thread; never waits for another process.
 *
 * @param interface the descriptor of the object
 * @param values    pointers to the arguments or results
 */
__attribute__((visibility("default"))) void record(const char* interface,
                                                   HidlInstrumentor::InstrumentationEvent event,
                                                   const char* method, const std::vector<void*>& values);

}  // namespace hidlaudio::recorder

#define RECORDER_ENTRY_POINT(symbol, descriptor)                                                            \
    extern "C" __attribute__((visibility("default"))) void symbol(                                          \
        android::hardware::details::HidlInstrumentor::InstrumentationEvent event, const char*, const char*, \
        const char*, const char* method, std::vector<void*>* values) {                                      \
        hidlaudio::recorder::record(descriptor, event, method, *values);                                    \
    }
