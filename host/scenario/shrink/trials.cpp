// SPDX-License-Identifier: Apache-2.0
#include "trials.h"

#include <algorithm>
#include <filesystem>
#include <set>
#include <thread>

#include "client/exit_status.h"

namespace hidlaudio::host {
namespace {

namespace fs = std::filesystem;

void removeFolder(const std::string& folder) {
    std::error_code ignored;
    fs::remove_all(folder, ignored);
}

std::string textOf(const ScenarioLines& lines) {
    std::string text;
    for (const std::string& line : lines) text += line + "\n";
    return text;
}

}  // namespace

std::string Trials::start() {
    if (scratch_.path().empty()) return "cannot create a temporary folder";
    std::string problem;
    modelOf(origin_.model, problem);
    return problem.empty() ? "" : "tv init: " + problem;
}

bool Trials::parse(const ScenarioLines& lines, Scenario& scenario) const {
    return parseScenario(origin_.path, textOf(lines), scenario).empty();
}

/** Returns the folder of a new TV with these options, or "" and an error message. */
std::string Trials::modelOf(const std::vector<std::string>& options, std::string& problem) {
    const auto known = models_.find(options);
    if (known != models_.end()) return known->second;
    const std::string folder = scratch_.path() + "/model" + std::to_string(models_.size());
    problem = makeTestTv({folder, "/"}, options);
    return models_[options] = problem.empty() ? folder : "";
}

bool Trials::prepare(const ScenarioLines& lines, size_t index, Trial& trial) {
    std::string problem;
    trial.index = index;
    trial.text = textOf(lines);
    trial.folder = scratch_.path() + "/run" + std::to_string(folders_++);
    if (!parse(lines, trial.scenario)) return false;
    trial.model = modelOf(trial.scenario.model, problem);
    return !trial.model.empty();
}

bool Trials::isShown(const FinishedRun& run) const {
    const bool hasWrongUsage =
        std::any_of(run.result.lines.begin(), run.result.lines.end(),
                    [](const LineOutcome& line) { return line.status == client::kWrongUsage; });
    if (hasWrongUsage && !allowsWrongUsage_) return false;
    return std::all_of(conditions_.begin(), conditions_.end(),
                       [&](const Condition& condition) { return condition(run); });
}

/** Runs a scenario until it shows the conditions. Called in a process of its own. */
Rate Trials::tryOut(const Trial& trial, unsigned tries) const {
    Rate rate;
    RunSetup setup{trial.model, trial.folder, scratch_.parameters(), {}, {}};
    setup.daemon = options_.daemon;
    while (rate.shown == 0 && rate.runs < tries) {
        removeFolder(trial.folder);
        const RunResult result = runScenario(trial.scenario, setup);
        rate.shown += isShown({trial.scenario, setup, result}) ? 1 : 0;
        ++rate.runs;
    }
    removeFolder(trial.folder);
    return rate;
}

/** Runs the trials that are still needed when their turn comes. Does not pass on the result of a crash. */
void Trials::runTrials(const std::vector<Trial>& trials, unsigned tries,
                       const std::function<bool(size_t)>& isNeeded,
                       const std::function<void(size_t, const Rate&)>& done) {
    PoolWork pool;
    pool.count = trials.size();
    pool.jobs = options_.jobs != 0 ? options_.jobs : 2 * std::max(1U, std::thread::hardware_concurrency());
    pool.run = [&](size_t i) {
        const Rate rate = isNeeded(i) ? tryOut(trials[i], tries) : Rate();
        return nlohmann::json{rate.shown, rate.runs};
    };
    pool.done = [&](size_t i, const nlohmann::json& result) {
        removeFolder(trials[i].folder);
        if (!result.is_array()) return;
        const Rate rate{result[0], result[1]};
        runs_ += rate.runs;
        if (rate.runs > 0) done(i, rate);
        if (options_.progress) options_.progress(lines_, runs_);
    };
    isInterrupted_ = isInterrupted_ || !runAll(pool, interrupt_);
}

Rate Trials::rateOf(const ScenarioLines& lines, unsigned runs) {
    lines_ = lines.size();
    Rate rate;
    std::vector<Trial> trials(runs);
    for (Trial& trial : trials) {
        if (!prepare(lines, 0, trial)) return rate;
    }
    runTrials(
        trials, 1, [](size_t) { return true; },
        [&](size_t, const Rate& one) {
            rate.shown += one.shown;
            rate.runs += one.runs;
        });
    return rate;
}

/**
 * Returns the candidates whose result is not known, without duplicates. Sets `first` to the first one that is
 * known to show the condition; the candidates after it are not needed.
 */
std::vector<Trials::Trial> Trials::unknownOf(const std::vector<ScenarioLines>& candidates, size_t& first) {
    std::vector<Trial> trials;
    std::set<std::string> texts;
    for (size_t i = 0; i < candidates.size(); ++i) {
        Trial trial;
        const bool isScenario = prepare(candidates[i], i, trial);
        const auto known = known_.find(trial.text);
        if (known != known_.end()) {
            ++remembered_;
            if (!known->second) continue;
            first = i;
            break;
        }
        if (isScenario && texts.insert(trial.text).second) trials.push_back(std::move(trial));
    }
    return trials;
}

std::optional<size_t> Trials::firstShown(const std::vector<ScenarioLines>& candidates) {
    if (isInterrupted_) return std::nullopt;
    size_t first = candidates.size();
    const std::vector<Trial> trials = unknownOf(candidates, first);
    runTrials(
        trials, tries_, [&](size_t i) { return trials[i].index < first; },
        [&](size_t i, const Rate& rate) {
            known_[trials[i].text] = rate.shown > 0;
            if (rate.shown > 0) first = std::min(first, trials[i].index);
        });
    if (isInterrupted_ || first == candidates.size()) return std::nullopt;
    lines_ = candidates[first].size();
    return first;
}

}  // namespace hidlaudio::host
