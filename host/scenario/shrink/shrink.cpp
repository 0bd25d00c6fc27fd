// SPDX-License-Identifier: Apache-2.0
#include "shrink.h"

#include <algorithm>
#include <filesystem>

#include "host/program/split_text.h"
#include "search.h"
#include "trials.h"

namespace hidlaudio::host {
namespace {

namespace fs = std::filesystem;
using Outcome = ShrinkResult::Outcome;

constexpr unsigned kMinRuns = 3;
constexpr unsigned kFlakyTries = 5;
constexpr char kMark[] = "shrunk:";

ScenarioLines linesOf(Scenario scenario) {
    scenario.about.clear();
    return splitLines(scenarioText(scenario));
}

/** Returns the first comment of the result: that of the original, and the conditions. */
std::string aboutResult(const std::string& about, const ShrinkOptions& options) {
    std::string text = about.substr(0, about.find(kMark));
    if (!text.empty() && text.size() == about.size()) text += "; ";
    text += kMark;
    for (const std::string& condition : options.until) text += " --until " + condition;
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text;
}

/** Returns the rate of the shortest scenario that still shows the conditions. Removes shorter ones. */
Rate verify(Trials& trials, unsigned runs, const Rate& before, std::vector<ScenarioLines>& found) {
    while (found.size() > 1) {
        const Rate rate = trials.rateOf(found.back(), runs);
        if (rate.shown > 0 || trials.isInterrupted()) return rate;
        found.pop_back();
    }
    return before;
}

std::string parseConditions(const std::vector<std::string>& texts, std::vector<Condition>& conditions) {
    for (const std::string& text : texts) {
        const std::string problem = parseCondition(text, conditions.emplace_back());
        if (!problem.empty()) return problem;
    }
    return "";
}

/** Runs the given scenario. Lines whose arguments are wrong are only accepted if it needs them. */
Rate rateOfGiven(Trials& trials, const ScenarioLines& lines, unsigned runs) {
    const Rate rate = trials.rateOf(lines, runs);
    if (rate.shown > 0 || trials.isInterrupted()) return rate;
    trials.allowWrongUsage();
    return trials.rateOf(lines, runs);
}

/** Sets the outcome and the rates. Returns the scenarios that were found, the last one is the shortest. */
std::vector<ScenarioLines> search(Trials& trials, const ScenarioLines& lines, unsigned tries,
                                  ShrinkResult& result) {
    const unsigned runs = std::max(kMinRuns, tries);
    std::vector<ScenarioLines> found{lines};
    result.before = rateOfGiven(trials, lines, runs);
    result.outcome = Outcome::NotShown;
    if (result.before.shown > 0 && !trials.isInterrupted()) {
        const bool isFlaky = result.before.shown < result.before.runs;
        trials.setTries(!isFlaky ? 1 : tries != 0 ? tries : kFlakyTries);
        found = searchShortest(lines, [&](const auto& candidates) { return trials.firstShown(candidates); });
        result.after = verify(trials, runs, result.before, found);
        result.outcome = Outcome::Shrunk;
    }
    if (trials.isInterrupted()) result.outcome = Outcome::Interrupted;
    return found;
}

}  // namespace

ShrinkResult shrink(const Scenario& scenario, const ShrinkOptions& options, const Interrupt& interrupt) {
    ShrinkResult result;
    std::vector<Condition> conditions;
    result.problem = parseConditions(options.until, conditions);
    result.outcome = result.problem.empty() ? Outcome::Failed : Outcome::WrongInput;
    Trials trials(scenario, options, conditions, interrupt);
    if (result.problem.empty()) result.problem = trials.start();
    if (!result.problem.empty()) return result;
    const ScenarioLines lines = linesOf(scenario);
    const std::vector<ScenarioLines> found = search(trials, lines, options.tries, result);
    trials.parse(found.back(), result.scenario);
    result.scenario.about = aboutResult(scenario.about, options);
    result.linesBefore = lines.size();
    result.linesAfter = found.back().size();
    result.runs = trials.runs();
    result.remembered = trials.remembered();
    return result;
}

std::set<std::string> neededFiles(const Scenario& scenario) {
    constexpr char kSeparators[] = " \t\"";
    const fs::path folder = fs::path(scenario.path).parent_path();
    std::set<std::string> files;
    for (const ScenarioLine& line : scenario.lines) {
        for (size_t at = 0; at < line.text.size();) {
            const size_t end = std::min(line.text.find_first_of(kSeparators, at), line.text.size());
            const std::string word = line.text.substr(at, end - at);
            std::error_code ignored;
            if (word[0] != '/' && fs::is_regular_file(folder / word, ignored)) files.insert(word);
            at = end + 1;
        }
    }
    return files;
}

}  // namespace hidlaudio::host
