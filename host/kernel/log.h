// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/thread_annotations.h>

#include <mutex>
#include <string>
#include <vector>

namespace hidlaudio::host {

/**
 * The TV's log. A program that links host_kernel writes the messages of all priorities to standard error,
 * in logcat's threadtime format, with one write(2) per message:
 * "11-24 12:25:07.184  4149  4149 D HidlAudio: text". The tag of a message without a tag is the program's
 * name.
 */

/** Starts logging. Called at program start. */
void startLog();

struct LogLine {
    int priority;
    std::string tag;
    std::string text;  // as logged, with its trailing newline if it has one

    bool operator==(const LogLine& other) const {
        return priority == other.priority && tag == other.tag && text == other.text;
    }
};

/**
 * Captures the messages of all threads of the process instead of printing them, for the lifetime of the
 * object. If several objects exist, the last created one captures. They must be destroyed in reverse order,
 * by the thread that created them.
 */
class LogCapture {
  public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    /** Returns the messages so far, in order. */
    std::vector<LogLine> lines() const;

    /** Returns the messages and removes them. */
    std::vector<LogLine> take();

    /** Adds a message. Called by the logger. */
    void add(LogLine line);

  private:
    mutable std::mutex mutex_;
    std::vector<LogLine> lines_ GUARDED_BY(mutex_);
    LogCapture* outer_;
};

}  // namespace hidlaudio::host
