// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "conditions.h"
#include "host/scenario/harness/scratch_folder.h"
#include "host/scenario/harness/worker_pool.h"
#include "search.h"
#include "shrink.h"

namespace hidlaudio::host {

/** Runs variants of a scenario on temporary TVs, several at the same time, and checks the conditions. */
class Trials {
  public:
    /** The arguments must outlive the object. */
    Trials(const Scenario& origin, const ShrinkOptions& options, const std::vector<Condition>& conditions,
           const Interrupt& interrupt);

    /** Prepares the run of the original scenario. Returns an error message, or "". */
    std::string start();

    /** Maximum number of runs of a candidate. It shows the condition if one of its runs does. */
    void setTries(unsigned tries) { tries_ = tries; }

    /** Accepts scenarios with lines whose arguments are wrong. */
    void allowWrongUsage() { allowsWrongUsage_ = true; }

    /** Runs the scenario `runs` times. */
    Rate rateOf(const ScenarioLines& lines, unsigned runs);

    /** As FirstShown. Does not run a scenario again. Returns `std::nullopt` after an interrupt. */
    std::optional<size_t> firstShown(const Candidates& candidates);

    bool isInterrupted() const { return isInterrupted_; }
    unsigned runs() const { return runs_; }
    unsigned remembered() const { return remembered_; }

    /** Parses the lines as a variant of the original scenario. Returns false if they are not a scenario. */
    bool parse(const ScenarioLines& lines, Scenario& scenario) const;

  private:
    /** A scenario that is run up to a number of times, until it shows the condition. */
    struct Trial {
        size_t index;
        std::string text;
        Scenario scenario;
        std::string model;
        std::string folder;
    };

    std::string modelOf(const std::vector<std::string>& options, std::string& problem);
    bool prepare(const ScenarioLines& lines, size_t index, Trial& trial);
    std::vector<Trial> unknownOf(const Candidates& candidates, size_t begin, size_t& first);
    bool isShown(const FinishedRun& run) const;
    Rate tryOut(const Trial& trial, unsigned tries) const;
    void runTrials(const std::vector<Trial>& trials, unsigned tries,
                   const std::function<bool(size_t)>& isNeeded,
                   const std::function<void(size_t, const Rate&)>& done);

    const Scenario& origin_;
    const ShrinkOptions& options_;
    const std::vector<Condition>& conditions_;
    const Interrupt& interrupt_;
    const ScratchFolder scratch_{kParametersSize};
    std::map<std::vector<std::string>, std::string> models_;  // by options of `tv init`; "" if they are wrong
    std::map<std::string, bool> known_;                       // whether a scenario shows the condition
    const unsigned jobs_;
    size_t lines_ = 0;  // of the best scenario
    unsigned tries_ = 1;
    unsigned runs_ = 0;
    unsigned remembered_ = 0;
    size_t folders_ = 0;
    bool allowsWrongUsage_ = false;
    bool isInterrupted_ = false;
};

}  // namespace hidlaudio::host
