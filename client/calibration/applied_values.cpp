// SPDX-License-Identifier: Apache-2.0
#include "applied_values.h"

#include <cmath>

namespace hidlaudio::client {
namespace {

constexpr double kSamplesPerMillisecond = 48;

/** Rounds in single precision, as the service does: 2.35 dB become 2.4 dB. */
double appliedDecibels(double decibels) {
    const auto requested = static_cast<float>(decibels);
    const int tenths = static_cast<int>(requested * 10.0F + (requested < 0 ? -0.5F : 0.5F));
    return tenths / 10.0;
}

double appliedDelay(double milliseconds) {
    const float samples = std::trunc(static_cast<float>(milliseconds) / 1000.0F * 48000.0F + 0.5F);
    return static_cast<double>(samples) / kSamplesPerMillisecond;
}

}  // namespace

ChannelCalibration appliedValues(const ChannelCalibration& requested) {
    ChannelCalibration applied{
        requested.channel, appliedDecibels(requested.level), appliedDelay(requested.delay), {}};
    for (size_t band = 0; band < kBands; ++band) applied.gains[band] = appliedDecibels(requested.gains[band]);
    return applied;
}

bool differs(double a, double b) {
    return static_cast<float>(a) != static_cast<float>(b);
}

}  // namespace hidlaudio::client
