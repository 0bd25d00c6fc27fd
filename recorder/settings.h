// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>
#include <sys/types.h>

#include <string>

namespace hidlaudio::recorder {

constexpr char kEnableProperty[] = "hal.instrumentation.enable";
constexpr char kProgramProperty[] = "vendor.hidlaudio.record.program";
constexpr char kFileProperty[] = "vendor.hidlaudio.record.file";
constexpr char kBytesProperty[] = "vendor.hidlaudio.record.bytes";
constexpr char kControllerProperty[] = "vendor.hidlaudio.record.controller";
constexpr char kLimitProperty[] = "vendor.hidlaudio.record.limit";  // in MiB

/** Added to the name of the record for the file with the bytes of large vectors. */
constexpr char kBytesSuffix[] = ".bytes";

/** The values of the system properties. */
struct Settings {
    bool isEnabled = false;
    std::string program;  // the program that is recorded
    std::string file;
    bool keepsBytes = false;  // whether large vectors of bytes are stored
    pid_t controller = 0;     // process whose calls are left out: it only waits until the daemon records
    int64_t sizeLimit = 0;    // of each file, in bytes
};

bool operator==(const Settings& left, const Settings& right);

/** Reads the properties. Those that are not set or invalid have default values. */
Settings readSettings();

}  // namespace hidlaudio::recorder
