// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace hidlaudio::client {

/** The sampling rate of the TV's audio path, in Hz. */
constexpr double kSamplingRate = 48000;

enum class FilterShape { Peak, LowShelf, HighShelf };

/** A second-order filter with the usual cookbook coefficients. */
struct Filter {
    FilterShape shape = FilterShape::Peak;
    double frequency =
        0;            // Hz, above 0 and below half the sampling rate: of a shelf, where it has half its gain
    double gain = 0;  // dB
    double q = 0;     // above 0
};

/** What the filter does to a tone of that frequency (Hz, up to half the sampling rate), in dB. */
double responseAt(const Filter& filter, double frequency);

}  // namespace hidlaudio::client
