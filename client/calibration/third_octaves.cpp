// SPDX-License-Identifier: Apache-2.0
#include "third_octaves.h"

#include "decimal.h"

namespace hidlaudio::client {
namespace {

constexpr double kCenters[kBands] = {20,   25,   31.5, 40,   50,   63,    80,    100,   125,  160,  200,
                                     250,  315,  400,  500,  630,  800,   1000,  1250,  1600, 2000, 2500,
                                     3150, 4000, 5000, 6300, 8000, 10000, 12500, 16000, 20000};

}  // namespace

double bandCenter(size_t band) {
    return kCenters[band];
}

std::string bandLabel(size_t band) {
    const double center = kCenters[band];
    return center < 1000 ? shortText(center) : shortText(center / 1000) + "k";
}

std::string bandName(size_t band) {
    return "band " + std::to_string(band) + " (" + shortText(kCenters[band]) + " Hz)";
}

}  // namespace hidlaudio::client
