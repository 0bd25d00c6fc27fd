// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "calls.h"
#include "faults.h"

namespace hidlaudio::host {

/** The model of the TV, as far as the report shows it. */
struct ModelFinding {
    bool backEnd = true;
    bool centreInput = false;
    bool centreSynchronized = false;
    std::vector<Note> notes;        // lines and files that show it
    std::vector<Note> assumptions;  // parts that nothing shows
};

ModelFinding findModel(const DaemonLog& log, const Report& report);

/** Values of the TV: the configuration store, the kept files and the parameters of the audio HAL. */
class TvValues {
  public:
    TvValues(const DaemonLog& log, const Report& report) : log_(log), report_(report) {}

    /**
     * Follows the values through the lines of a boot. Adds lines that change a value if the log shows that
     * another program has changed it.
     */
    void follow(const Boot& boot, BootCalls& calls, AllSurroundings& surroundings);

    /** Returns the lines that set the values before the first start. Follow all boots first. */
    std::vector<std::string> initialLines();

    std::vector<Note> notes;
    std::vector<Note> unknown;

  private:
    void observe(const DaemonLine& line, int context, AllSurroundings& surroundings);
    void noteRead(const std::string& path, const std::string& content, const DaemonLine& line, int context,
                  AllSurroundings& surroundings);
    void noteWritten(const std::string& path, const std::string& content);
    void noteEffects(Call& call);
    void addCalibration();

    const DaemonLog& log_;
    const Report& report_;
    std::map<std::string, std::string> current_;  // by path; the content of a missing file is kMissing
    std::map<std::string, std::string> initial_;
    std::map<std::string, Place> cut_;     // files that were too short at their first use
    std::map<std::string, bool> written_;  // whether a call has changed it
    std::optional<Note> enabledAtBoot_;    // the first start applied a stored calibration
};

/** Returns the channels in the daemon's file of calibration results, as the arguments of a call. */
Json calibrationOf(const std::string& content);

}  // namespace hidlaudio::host
