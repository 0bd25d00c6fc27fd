// SPDX-License-Identifier: Apache-2.0
#include "search.h"

#include <algorithm>

namespace hidlaudio::host {
namespace {

constexpr size_t kMaxPartsAlone = 8;

class Search {
  public:
    Search(const ScenarioLines& lines, const FirstShown& firstShown)
        : firstShown_(firstShown), found_{lines} {}

    std::vector<ScenarioLines> run() {
        size_t before = 0;
        while (before != found_.size()) {
            before = found_.size();
            removeLines();
            removeVariables();
            // The first lines prepare the TV, so they come last.
            for (size_t i = best().size(); i-- > 0;) simplifyLine(i);
        }
        return found_;
    }

  private:
    const ScenarioLines& best() const { return found_.back(); }

    /** Makes the first candidate that shows the condition the best scenario. Returns its index. */
    std::optional<size_t> accept(const Candidates& candidates) {
        const std::optional<size_t> shown = candidates.count == 0 ? std::nullopt : firstShown_(candidates);
        if (shown) found_.push_back(candidates.make(*shown));
        return shown;
    }

    /** Returns one of the equal parts of the scenario, or all others. */
    ScenarioLines part(size_t index, size_t parts, bool isAlone) const {
        const auto edge = [&](size_t i) {
            return best().begin() + static_cast<ptrdiff_t>(best().size() * i / parts);
        };
        if (isAlone) return withoutOrphans({edge(index), edge(index + 1)});
        ScenarioLines others(best().begin(), edge(index));
        others.insert(others.end(), edge(index + 1), best().end());
        return withoutOrphans(others);
    }

    /**
     * Delta debugging: tries ever smaller parts of the scenario, and the scenario without one of them. Goes
     * on with the next part after a success, as the scenario needs the parts before it.
     */
    void removeLines() {
        size_t next = 0;
        for (size_t parts = 2; best().size() > 1;) {
            parts = std::min(parts, best().size());
            // Small parts alone hardly ever show the condition.
            const size_t alone = parts <= kMaxPartsAlone ? parts : 0;
            const auto shown = accept({alone + parts, [&](size_t i) {
                                           return i < alone ? part(i, parts, true)
                                                            : part((i - alone + next) % parts, parts, false);
                                       }});
            if (!shown && parts == best().size()) return;
            next = shown && *shown >= alone ? (*shown - alone + next) % parts : 0;
            if (!shown) parts *= 2;
            if (shown) parts = *shown < alone ? 2 : std::max(parts - 1, size_t{2});
        }
    }

    void removeVariables() {
        std::vector<ScenarioLines> candidates;
        do {
            candidates = withoutVariable(best());
        } while (accept({candidates.size(), [&](size_t i) { return candidates[i]; }}));
    }

    /** Goes on after the last success, as the simplifications before it have failed on a similar line. */
    void simplifyLine(size_t line) {
        std::optional<size_t> shown;
        size_t next = 0;
        do {
            const std::vector<std::string> simpler = simplerLines(best()[line]);
            const auto at = [&](size_t i) { return (next + i) % simpler.size(); };
            shown = accept({simpler.size(), [&](size_t i) {
                                ScenarioLines candidate = best();
                                candidate[line] = simpler[at(i)];
                                return candidate;
                            }});
            if (shown) next = at(*shown);
        } while (shown);
    }

    const FirstShown& firstShown_;
    std::vector<ScenarioLines> found_;
};

}  // namespace

std::vector<ScenarioLines> searchShortest(const ScenarioLines& lines, const FirstShown& firstShown) {
    return Search(lines, firstShown).run();
}

}  // namespace hidlaudio::host
