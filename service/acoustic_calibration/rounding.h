// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

namespace com::tovi::dtv::hardware::audio::acoustic_calibration {

/**
 * From the client's units to the TV's, in single precision. A damaged file may hold any
 * number: what is beyond 32 bits becomes the nearest value that is not, what is no
 * number 0.
 */

/** A level or gain in tenths of a dB, rounded half away from zero. */
int32_t toTenths(float decibels);

/** A delay in samples at 48 kHz. Negative delays, which no calibration has, round towards zero. */
int32_t toSamples(float milliseconds);

}  // namespace com::tovi::dtv::hardware::audio::acoustic_calibration
