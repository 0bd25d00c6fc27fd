// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>

#include <string>

namespace hidlaudio::client {

/** Number of equalizer bands: third octaves from 20 Hz (band 0) to 20 kHz. */
constexpr size_t kBands = 31;

/** Returns the nominal center frequency of a band in Hz. `band` must be below kBands. */
double bandCenter(size_t band);

/** Returns the center frequency as a short label: "31.5", "1k", "12.5k". */
std::string bandLabel(size_t band);

/** Returns the name of a band for messages: "band 2 (31.5 Hz)". */
std::string bandName(size_t band);

}  // namespace hidlaudio::client
