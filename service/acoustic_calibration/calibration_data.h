// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <com/tovi/dtv/hardware/audio/3.0/types.h>
#include <stddef.h>
#include <stdint.h>

#include <string>
#include <string_view>
#include <vector>

namespace com::tovi::dtv::hardware::audio::acoustic_calibration {

/**
 * The calibration results, one record per channel, and their conversion from and to the HIDL types. Any
 * thread.
 */

constexpr size_t kBands = 31;
constexpr size_t kNameLength = 4;
/** Further channels are ignored. */
constexpr size_t kMaxChannels = 9;

/** One channel, in the layout of the calibration file: little-endian, as is the TV's processor. */
struct aud_ac_data_Table {
    char name[kNameLength];  // padded with zeros; four characters have no terminating zero
    uint32_t reserved;       // written as 0, ignored when read
    float level;             // in dB
    float delay;             // in ms
    float geqGain[kBands];   // in dB
};
static_assert(offsetof(aud_ac_data_Table, level) == 8, "the file's layout");
static_assert(offsetof(aud_ac_data_Table, delay) == 12, "the file's layout");
static_assert(offsetof(aud_ac_data_Table, geqGain) == 16, "the file's layout");
static_assert(sizeof(aud_ac_data_Table) == 140, "the file's layout");

using CalibrationRecords = std::vector<aud_ac_data_Table>;
using ClientData = ::android::hardware::hidl_vec<V3_0::calibratedData>;

/** The channels that adjust the sound. */
constexpr std::string_view kFrontLeft = "FL";
constexpr std::string_view kFrontRight = "FR";

/**
 * Checks that all levels and gains are -9 to 9 dB and all delays 0 to 10 ms. Returns 0, or -1 after logging
 * the first value out of range. NaN is out of range.
 */
int32_t checkCalibratedData(const ClientData& data);

/** Converts one entry to a record. Missing bands are 0 dB; bands beyond kBands are dropped. */
aud_ac_data_Table toRecord(const V3_0::calibratedData& entry);

/** Converts one record to an entry with all bands. */
V3_0::calibratedData fromRecord(const aud_ac_data_Table& record);

/** Returns the name of the channel, at most four characters. */
std::string channelName(const aud_ac_data_Table& record);

/** Returns the number of records that are used, at most kMaxChannels. */
size_t usedChannels(const CalibrationRecords& records);

/** Returns the first front-left channel among the used records, or `nullptr` if there is none. */
const aud_ac_data_Table* findFrontLeft(const CalibrationRecords& records);

/** Returns bands with these gains in dB, as the service sends them to a client. */
::android::hardware::hidl_vec<V3_0::bandEqualizer> makeBands(const float (&gains)[kBands]);

}  // namespace com::tovi::dtv::hardware::audio::acoustic_calibration
