// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/thread_annotations.h>

#include <mutex>
#include <string>
#include <vector>

namespace hidlaudio::host {

/**
 * The TV's log. A program that links host_kernel writes every message, of every
 * priority, to its standard error as logcat's threadtime format shows it, one
 * write(2) a message: "11-24 12:25:07.184  4149  4149 D HidlAudio: text". A
 * message without a tag comes under the program's name.
 */

/** Called at program start. */
void startLog();

struct LogLine {
    int priority;
    std::string tag;
    std::string text;  // as it was logged, with the line end if it had one

    bool operator==(const LogLine& other) const {
        return priority == other.priority && tag == other.tag && text == other.text;
    }
};

/**
 * Keeps the messages of the whole process, from every thread, instead of printing
 * them, for as long as it lives; the innermost one has them. Must end on the thread
 * that made it, the last made first.
 */
class LogCapture {
  public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    /** The messages so far, in order. */
    std::vector<LogLine> lines() const;

    /** Takes the messages out: the next call gives those after this one. */
    std::vector<LogLine> take();

    /** For the logger. */
    void add(LogLine line);

  private:
    mutable std::mutex mutex_;
    std::vector<LogLine> lines_ GUARDED_BY(mutex_);
    LogCapture* outer_;
};

}  // namespace hidlaudio::host
