// SPDX-License-Identifier: Apache-2.0
#include "biquad_response.h"

#include <algorithm>
#include <cmath>
#include <complex>

namespace hidlaudio::client {
namespace {

constexpr double kPi = 3.14159265358979323846;

/** The coefficients of 1, z^-1 and z^-2. */
struct Polynomial {
    double a, b, c;
};

struct Coefficients {
    Polynomial numerator, denominator;
};

Coefficients peak(double amplitude, double cosine, double alpha) {
    return {{1 + alpha * amplitude, -2 * cosine, 1 - alpha * amplitude},
            {1 + alpha / amplitude, -2 * cosine, 1 - alpha / amplitude}};
}

/** `turn` is 1 for a low shelf; -1 negates the cosines, which gives a high shelf. */
Coefficients shelf(double amplitude, double cosine, double alpha, double turn) {
    const double more = amplitude + 1;
    const double less = amplitude - 1;
    const double width = 2 * std::sqrt(amplitude) * alpha;
    cosine *= turn;
    return {{amplitude * (more - less * cosine + width), turn * 2 * amplitude * (less - more * cosine),
             amplitude * (more - less * cosine - width)},
            {more + less * cosine + width, turn * -2 * (less + more * cosine), more + less * cosine - width}};
}

Coefficients coefficientsOf(const Filter& filter) {
    const double amplitude = std::pow(10.0, filter.gain / 40);
    const double angle = 2 * kPi * filter.frequency / kSamplingRate;
    const double alpha = std::sin(angle) / (2 * filter.q);
    if (filter.shape == FilterShape::Peak) return peak(amplitude, std::cos(angle), alpha);
    return shelf(amplitude, std::cos(angle), alpha, filter.shape == FilterShape::LowShelf ? 1 : -1);
}

double powerOf(const Polynomial& polynomial, std::complex<double> z) {
    constexpr double kNothing = 1e-30;  // keeps the logarithm finite
    return std::max(std::norm(polynomial.a + z * (polynomial.b + z * polynomial.c)), kNothing);
}

}  // namespace

double responseAt(const Filter& filter, double frequency) {
    const std::complex<double> z = std::polar(1.0, -2 * kPi * frequency / kSamplingRate);
    const Coefficients coefficients = coefficientsOf(filter);
    return 10 * std::log10(powerOf(coefficients.numerator, z) / powerOf(coefficients.denominator, z));
}

}  // namespace hidlaudio::client
