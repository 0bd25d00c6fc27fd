// SPDX-License-Identifier: Apache-2.0
#pragma once

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
    explicit LogReader(Report& report) : report_(report) {}

    /** Adds the next line, without its newline. */
    void add(std::string_view text);

    bool hasLogLines() const { return hasLogLines_; }

  private:
    Place here() const { return {report_.files.size() - 1, line_}; }
    void addEnd(const LogcatLine& line);
    void addOmission(const LogcatLine& line);
    void addOther(std::string_view text);
    void addState(std::string_view text);
    void keep(const LogcatLine& line, DaemonLine::End end, pid_t process);

    Report& report_;
    size_t line_ = 0;
    bool hasLogLines_ = false;
    bool startsStream_ = true;
    bool mayStartStream_ = false;  // after the name of a buffer
    int64_t yearOffset_ = 0;
    pid_t process_ = 0;  // of the daemon whose lines are read; 0 if it is not known
    std::string service_;
    std::string section_;
};

}  // namespace hidlaudio::host
