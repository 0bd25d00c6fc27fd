// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>

#include <initializer_list>

namespace com::tovi::dtv::hardware::audio::platform {

/** The model's acoustic tuning file. Another component of the TV writes it. */
constexpr char kTuningFile[] = "/data/vendor/tmp/recipe/aqda.bin";

/** A region of the tuning file, and the memory that receives its bytes. */
struct TuningRegion {
    long offset;  // in the file
    void* destination;
    size_t size;  // in bytes
};

/**
 * Reads regions of the tuning file, one after the other. Any thread.
 *
 * @param function function name printed in the log
 * @return false if the file cannot be read or is too short, which is logged; the destinations must not be
 *     used then
 */
bool readTuningFile(const char* tag, const char* function, std::initializer_list<TuningRegion> regions);

}  // namespace com::tovi::dtv::hardware::audio::platform
