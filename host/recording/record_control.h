// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/unique_fd.h>

#include <atomic>
#include <memory>
#include <string>

namespace hidlaudio::host {

/** Default maximum size of a record and of its file of bytes, in MiB. */
constexpr unsigned kRecordLimit = 1024;

struct RecordOptions {
    std::string file;         // absolute path; an existing file is overwritten
    bool keepsBytes = false;  // whether the bytes of large vectors are stored in <file>.bytes
    unsigned limit = kRecordLimit;
};

/** Milliseconds after which the daemon does not add to a record that was stopped. */
constexpr int kRecordEnds = 300;

/** A process holds this program lock while it controls the record. */
constexpr char kRecordLock[] = "record";

/** Returns the file to which the calls of the TV at tvRoot() are recorded, or "". */
std::string recordedFile();

/** Holds kRecordLock. `error` is EBUSY if the process that controlled the last record still holds it. */
struct RecordLock {
    android::base::unique_fd file;
    int error = 0;
};

/**
 * Takes kRecordLock, unless `lock` is null, and sets the system properties of the TV that make the daemon
 * record its calls. Call configureDaemon() afterwards for a running daemon. Returns an error message, or
 * "".
 */
std::string startRecord(const RecordOptions& options, RecordLock* lock);

/**
 * Removes the properties, even if another process has set them. The daemon stops recording within
 * kRecordEnds milliseconds. Returns an error message, or "".
 */
std::string stopRecord();

/**
 * Like stopRecord(), but only if this process has started the current record, with `file`. Otherwise another
 * process has ended the record of this one. Returns an error message, or "".
 */
std::string stopOwnRecord(const std::string& file);

/** Like stopOwnRecord(), and removes `file` unless another process records to it. */
std::string discardOwnRecord(const std::string& file);

/** Ends a record that no running process controls. Returns an error message, or "". */
std::string stopLeftRecord();

/**
 * Makes each service of the running daemon read the properties. Does not wait: the services follow when the
 * daemon is not busy. Returns a flag that becomes true then; it is true if the daemon is not running.
 */
std::shared_ptr<const std::atomic<bool>> configureDaemon();

}  // namespace hidlaudio::host
