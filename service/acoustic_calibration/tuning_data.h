// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "calibration_data.h"

namespace com::tovi::dtv::hardware::audio::acoustic_calibration {

/**
 * The parts of the model's acoustic tuning file for the room measurement, in the layout of the file.
 * Numbers are little-endian, as is the TV's processor.
 */

/**
 * Frequencies of three channels, one byte each, the first channel in the highest byte. The lowest byte is
 * unused.
 */
using PackedFrequencies = uint32_t;

struct PackedRanges {
    PackedFrequencies lower;  // in 10 Hz
    PackedFrequencies upper;  // in 100 Hz
};

struct ParameterBlock {
    int32_t intValues1To5[5];
    uint32_t scaledValues1To3[3];  // all scaled values are in tenths of the unit
    int32_t scaledValue5;          // stored before scaledValue4
    int32_t scaledValue4;
    int32_t intValues6And7[2];
    uint32_t scaledValue6;
    int32_t scaledValue7;
    PackedRanges ranges[2];
    uint32_t gains[kBands];  // in tenths of a dB
};
static_assert(offsetof(ParameterBlock, scaledValue4) == 0x24, "the file's layout");
static_assert(offsetof(ParameterBlock, ranges) == 0x38, "the file's layout");
static_assert(sizeof(ParameterBlock) == 196, "the file's layout");

struct CurveBlock {
    int32_t enabled;        // 1 for enabled; any other number means disabled
    int32_t gains[kBands];  // in tenths of a dB
};
static_assert(sizeof(CurveBlock) == 128, "the file's layout");

constexpr size_t kCurves = 5;

struct TuningData {
    ParameterBlock parameters;
    CurveBlock curves[kCurves];
};

}  // namespace com::tovi::dtv::hardware::audio::acoustic_calibration
