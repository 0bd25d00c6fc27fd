// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <optional>

#include "candidates.h"

namespace hidlaudio::host {

/** Variants of a scenario. They are made when they are needed, since most are not. */
struct Candidates {
    size_t count = 0;
    std::function<ScenarioLines(size_t index)> make;
};

/**
 * Returns the index of the first candidate that shows the condition, or `std::nullopt` if none does. A
 * candidate that is not a scenario shows nothing.
 */
using FirstShown = std::function<std::optional<size_t>(const Candidates& candidates)>;

/**
 * Searches for a shorter scenario that shows the condition: removes lines until no single line can be
 * removed, then simplifies the lines, and repeats this as long as it helps. Returns the scenarios found, each
 * shorter than the one before; the first one is `lines`.
 */
std::vector<ScenarioLines> searchShortest(const ScenarioLines& lines, const FirstShown& firstShown);

}  // namespace hidlaudio::host
