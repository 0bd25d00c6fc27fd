// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "host/recording/record_line.h"
#include "log_line.h"

namespace hidlaudio::host {

/** Path of the files that the daemon and its TV keep, below the root of the TV. */
constexpr char kCalibrationFile[] = "/data/vendor/tovi/hidlaudio/aud_ac.data";
constexpr char kEnabledFile[] = "/data/vendor/tovi/hidlaudio/aud_ac_enabled.data";
constexpr char kBitstreamModeFile[] = "/data/vendor/tovi/hidlaudio/bitstream_output_mode.data";
constexpr char kTuningFile[] = "/data/vendor/tmp/recipe/aqda.bin";
constexpr char kConfigFolder[] = "/soc/config/";
constexpr char kGainFile[] = "/hal/parameters/builtin_mic_gain";

/** A line of a file of the report. Line 0 stands for the whole file. */
struct Place {
    size_t file = 0;  // index in Report::files
    size_t line = 0;
};

/** Place of a note that is about no file. */
constexpr Place kNowhere{SIZE_MAX, 0};

/** A line that the daemon has logged, or a line of another program about the end of the daemon. */
struct DaemonLine {
    enum class End { None, Killed, Ended, Crashed };

    End end = End::None;  // None: the daemon has logged the line
    Place place;
    int64_t time = kNoTime;
    pid_t process = 0;
    pid_t thread = 0;
    char level = 'D';
    std::string tag;
    std::string text;
};

/** A value of the TV when the report was made. */
struct FinalValue {
    std::string value;
    Place place;
};

struct PlacedRecordLine {
    RecordLine line;
    Place place;
};

/** What was read from the files of a report. */
struct Report {
    std::vector<std::string> files;                // names for messages
    std::vector<std::vector<DaemonLine>> streams;  // each from one log buffer or section, in its order
    std::vector<PlacedRecordLine> record;
    std::map<std::string, FinalValue> contents;  // contents of files of the TV, by their path on the TV
    std::map<std::string, FinalValue> facts;     // "back_end", "centre_input", "centre_synchronized": 0 or 1
    // Path of the file with the bytes of the record, by its name beside the scenario.
    std::map<std::string, std::string> bytes;
    std::vector<std::string> warnings;
};

/** Returns "FILE:LINE", or "FILE" for a whole file. */
std::string nameOf(const Report& report, const Place& place);

/** Adds a warning about a place. */
void warn(Report& report, const Place& place, const std::string& text);

/** Returns whether the tag is one of those with which the daemon's services log. */
bool isDaemonTag(std::string_view tag);

}  // namespace hidlaudio::host
