// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace hidlaudio::client {

/** A number in its range; else why it is none. */
struct Quantity {
    double value = 0;
    std::string reason;  // "" where there is a value
};

/** `text`, which is the value of `what`, as a number from `least` to `most`. */
Quantity readQuantity(std::string_view what, std::string_view text, double least, double most);

/** In dB, 60 either way: what is beyond is a mistake. */
Quantity readGain(std::string_view text);

/** In Hz. "12,500" is refused: some programs mean 12.5 by it and some 12500. */
Quantity readFrequency(std::string_view text, double least, double most);

}  // namespace hidlaudio::client
