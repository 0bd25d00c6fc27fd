// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <set>
#include <string>
#include <string_view>

#include "report.h"

namespace hidlaudio::host {

/**
 * Takes the lines of one text file and adds those of the daemon to the report: its log, and the state that
 * `audioctl dump` and `lshal debug` print. Lines of other programs are not kept.
 */
class LogReader {
  public:
    /** `report` must outlive the reader. The report's last file is the one that is read. */
    explicit LogReader(Report& report);

    /** Adds the next line, without its newline. */
    void add(std::string_view text);

    bool hasLogLines() const { return hasLogLines_; }

  private:
    void addLogLine(const LogcatLine& line);
    void addEnd(const LogcatLine& line);
    void addOmission(const LogcatLine& line);
    void addOther(std::string_view text);
    void addState(std::string_view text);
    void keep(const LogcatLine& line, DaemonLine::Kind kind, pid_t process);

    Report& report_;
    size_t line_ = 0;
    bool hasLogLines_ = false;
    bool startsStream_ = true;
    bool mayStartStream_ = false;  // after the name of a buffer
    int64_t yearOffset_ = 0;
    std::set<pid_t> processes_;
    std::string service_;
    std::string section_;
};

}  // namespace hidlaudio::host
