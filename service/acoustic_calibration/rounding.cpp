// SPDX-License-Identifier: Apache-2.0
#include "rounding.h"

namespace com::tovi::dtv::hardware::audio::acoustic_calibration {
namespace {

/** Truncates towards zero. Values beyond 32 bits become the nearest limit; NaN becomes 0. */
int32_t truncate(float value) {
    constexpr float kBeyond = 2147483648.0F;
    if (value >= kBeyond) return INT32_MAX;
    if (value <= -kBeyond) return INT32_MIN;
    return value == value ? static_cast<int32_t>(value) : 0;
}

}  // namespace

int32_t toTenths(float decibels) {
    const float tenths = decibels * 10.0F;
    return truncate(decibels >= 0.0F ? tenths + 0.5F : tenths - 0.5F);
}

int32_t toSamples(float milliseconds) {
    const float samples = milliseconds / 1000.0F * 48000.0F;
    return truncate(samples + 0.5F);
}

}  // namespace com::tovi::dtv::hardware::audio::acoustic_calibration
