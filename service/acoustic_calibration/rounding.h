// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

namespace com::tovi::dtv::hardware::audio::acoustic_calibration {

/**
 * Conversions from the units of clients to the units of the TV, in single precision. A damaged file may
 * hold any number: a result beyond 32 bits becomes the nearest limit, and NaN becomes 0.
 */

/** Returns a level or gain in tenths of a dB, rounded half away from zero. */
int32_t toTenths(float decibels);

/**
 * Returns a delay in samples at 48 kHz: adds one half and truncates. Negative delays, which only a smooth
 * delay can have, are therefore not rounded to the nearest sample.
 */
int32_t toSamples(float milliseconds);

}  // namespace com::tovi::dtv::hardware::audio::acoustic_calibration
