// SPDX-License-Identifier: Apache-2.0
#include "search.h"

#include <algorithm>

namespace hidlaudio::host {
namespace {

class Search {
  public:
    Search(const ScenarioLines& lines, const FirstShown& firstShown)
        : firstShown_(firstShown), found_{lines} {}

    std::vector<ScenarioLines> run() {
        size_t before = 0;
        while (before != found_.size()) {
            before = found_.size();
            removeLines();
            while (accept(withoutVariable(best()))) {
            }
            // The first lines prepare the TV, so they come last.
            for (size_t i = best().size(); i-- > 0;) simplifyLine(i);
        }
        return found_;
    }

  private:
    const ScenarioLines& best() const { return found_.back(); }

    /** Makes the first candidate that shows the condition the best scenario. Returns its index. */
    std::optional<size_t> accept(const std::vector<ScenarioLines>& candidates) {
        const std::optional<size_t> shown = candidates.empty() ? std::nullopt : firstShown_(candidates);
        if (shown) found_.push_back(candidates[*shown]);
        return shown;
    }

    /** Returns each of `parts` parts of the best scenario, then the scenario without each of them. */
    std::vector<ScenarioLines> divided(size_t parts) const {
        std::vector<ScenarioLines> only, without;
        const auto begin = best().begin();
        for (size_t i = 0; i < parts; ++i) {
            const auto first = begin + static_cast<ptrdiff_t>(best().size() * i / parts);
            const auto last = begin + static_cast<ptrdiff_t>(best().size() * (i + 1) / parts);
            only.push_back(withoutOrphans({first, last}));
            ScenarioLines others(begin, first);
            others.insert(others.end(), last, best().end());
            without.push_back(withoutOrphans(others));
        }
        only.insert(only.end(), without.begin(), without.end());
        return only;
    }

    /** Delta debugging: tries ever smaller parts, and the scenario without them. */
    void removeLines() {
        for (size_t parts = 2; best().size() > 1;) {
            parts = std::min(parts, best().size());
            const std::optional<size_t> shown = accept(divided(parts));
            if (!shown && parts == best().size()) return;
            if (shown) parts = *shown < parts ? 2 : std::max(parts - 1, size_t{2});
            if (!shown) parts *= 2;
        }
    }

    /** Continues after the last success, as the simplifications before it have failed on a similar line. */
    void simplifyLine(size_t line) {
        for (size_t start = 0;;) {
            std::vector<ScenarioLines> candidates;
            for (const std::string& simpler : simplerLines(best()[line])) {
                candidates.push_back(best());
                candidates.back()[line] = simpler;
            }
            if (candidates.empty()) return;
            start %= candidates.size();
            std::rotate(candidates.begin(), candidates.begin() + static_cast<ptrdiff_t>(start),
                        candidates.end());
            const std::optional<size_t> shown = accept(candidates);
            if (!shown) return;
            start += *shown;
        }
    }

    const FirstShown& firstShown_;
    std::vector<ScenarioLines> found_;
};

}  // namespace

std::vector<ScenarioLines> searchShortest(const ScenarioLines& lines, const FirstShown& firstShown) {
    return Search(lines, firstShown).run();
}

}  // namespace hidlaudio::host
