// SPDX-License-Identifier: Apache-2.0
#include "trials.h"

#include <android-base/strings.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <thread>

#include "client/exit_status.h"

namespace hidlaudio::host {
namespace {

namespace fs = std::filesystem;

/** Candidates are prepared in groups of this size, since the ones after a success are not needed. */
constexpr size_t kTrialsPerJob = 8;

void removeFolder(const std::string& folder) {
    std::error_code ignored;
    fs::remove_all(folder, ignored);
}

std::string textOf(const ScenarioLines& lines) {
    return android::base::Join(lines, '\n') + "\n";
}

}  // namespace

Trials::Trials(const Scenario& origin, const ShrinkOptions& options, const std::vector<Condition>& conditions,
               const Interrupt& interrupt)
    : origin_(origin),
      options_(options),
      conditions_(conditions),
      interrupt_(interrupt),
      jobs_(options.jobs != 0 ? options.jobs : 2 * std::max(1U, std::thread::hardware_concurrency())) {}

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
    pool.jobs = jobs_;
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
 * Returns the next candidates whose result is not known, without duplicates. Sets `first` to the first one
 * that is known to show the condition; the candidates after it are not needed.
 */
std::vector<Trials::Trial> Trials::unknownOf(const Candidates& candidates, size_t begin, size_t& first) {
    std::vector<Trial> trials;
    const size_t end = std::min(candidates.count, begin + jobs_ * kTrialsPerJob);
    std::set<std::string> texts;
    for (size_t i = begin; i < end && first > i; ++i) {
        const ScenarioLines lines = candidates.make(i);
        const std::string text = textOf(lines);
        if (const auto known = known_.find(text); known != known_.end()) {
            ++remembered_;
            if (known->second) first = i;
            continue;
        }
        Trial trial;
        if (texts.insert(text).second && prepare(lines, i, trial)) trials.push_back(std::move(trial));
    }
    return trials;
}

std::optional<size_t> Trials::firstShown(const Candidates& candidates) {
    size_t first = candidates.count;
    for (size_t begin = 0; begin < first && !isInterrupted_; begin += jobs_ * kTrialsPerJob) {
        const std::vector<Trial> trials = unknownOf(candidates, begin, first);
        runTrials(
            trials, tries_, [&](size_t i) { return trials[i].index < first; },
            [&](size_t i, const Rate& rate) {
                known_[trials[i].text] = rate.shown > 0;
                if (rate.shown > 0) first = std::min(first, trials[i].index);
            });
    }
    if (isInterrupted_ || first == candidates.count) return std::nullopt;
    lines_ = candidates.make(first).size();
    return first;
}

}  // namespace hidlaudio::host
