// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <atomic>
#include <mutex>
#include <set>
#include <string>

#include "append_file.h"
#include "settings.h"

namespace hidlaudio::recorder {

/** Returns the nanoseconds since the kernel was started, with those in suspend: never goes backwards. */
int64_t nanosecondsNow();

/** The record of this process. All functions may be called on any thread. */
class Recording {
  public:
    /** Returns the record, which is never destroyed. */
    static Recording& self();

    /**
     * Returns the number of the current record of this process, or 0 if it is not recorded. Reads the
     * settings if they have not been read for a while.
     */
    unsigned current(int64_t now);

    /** Returns the process whose calls are left out, or 0. */
    pid_t controller() const { return controller_.load(std::memory_order_relaxed); }

    // `record` is the number that current() has returned: nothing is written if another record follows it.

    /** Writes a line about the process unless it was written before. Call it while the client waits. */
    void introduce(unsigned record, pid_t client, int64_t time);

    /** Appends a line, which ends with a newline. */
    void append(unsigned record, const std::string& line);

    /** Stores bytes in the file of bytes. Returns their offset, or -1 if they are not stored. */
    int64_t store(unsigned record, const uint8_t* data, size_t size);

  private:
    void followSettings();
    void begin();
    void end(int error, const std::string& path);

    std::atomic<int64_t> nextCheck_{0};
    std::atomic<unsigned> current_{0};
    std::atomic<pid_t> controller_{0};
    std::mutex mutex_;  // guards the members below
    unsigned count_ = 0;
    Settings settings_;
    std::set<pid_t> clients_;  // that the record describes
    AppendFile lines_;
    AppendFile bytes_;
};

}  // namespace hidlaudio::recorder
