// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>

#include <string>

namespace hidlaudio::client {

/** The equalizer's bands: third octaves from 20 Hz, band 0, to 20 kHz. */
constexpr size_t kBands = 31;

/** The nominal centre of a band, in Hz. `band` is below kBands. */
double bandCentre(size_t band);

/** The centre in few characters: "31.5", "1k", "12.5k". */
std::string bandLabel(size_t band);

/** A band as messages name it: "band 2 (31.5 Hz)". */
std::string bandName(size_t band);

}  // namespace hidlaudio::client
