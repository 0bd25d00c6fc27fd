// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace hidlaudio::client {

/** Sampling rate of the TV's audio path in Hz. */
constexpr double kSamplingRate = 48000;

enum class FilterShape { Peak, LowShelf, HighShelf };

/** A second-order filter with the common cookbook coefficients. */
struct Filter {
    FilterShape shape = FilterShape::Peak;
    /** In Hz, above 0 and below half the sampling rate. A shelf has half its gain there. */
    double frequency = 0;
    double gain = 0;  // dB
    double q = 0;     // above 0
};

/** Returns the gain in dB at a frequency in Hz, up to half the sampling rate. */
double responseAt(const Filter& filter, double frequency);

}  // namespace hidlaudio::client
