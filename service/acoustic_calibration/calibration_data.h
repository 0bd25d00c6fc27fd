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
 * The calibration results, one record a channel, and their way from the client and back
 * to it. Any thread.
 */

constexpr size_t kBands = 31;
constexpr size_t kNameLength = 4;
/** No more channels than these are looked at. */
constexpr size_t kMaxChannels = 9;

/** One channel, in memory as in the calibration file: little-endian, as all of this TV is. */
struct aud_ac_data_Table {
    char name[kNameLength];  // padded with zeros, not ended by one
    uint32_t reserved;       // 0 when written, any when read
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

/** The channels that the sound is adjusted by. */
constexpr std::string_view kFrontLeft = "FL";
constexpr std::string_view kFrontRight = "FR";

/**
 * Whether all levels and gains lie within -9 to 9 dB and all delays within 0 to 10 ms:
 * 0, or -1 with the first that does not logged. What is no number lies nowhere.
 */
int32_t checkCalibratedData(const ClientData& data);

/** The first bands of one entry; those that it lacks are 0 dB. */
aud_ac_data_Table toRecord(const V3_0::calibratedData& entry);

/** All bands of one record. */
V3_0::calibratedData fromRecord(const aud_ac_data_Table& record);

/** The channel's name, at most four characters. */
std::string channelName(const aud_ac_data_Table& record);

/** How many of the records count. */
size_t usedChannels(const CalibrationRecords& records);

/** The first front-left channel among the records that count; null where there is none. */
const aud_ac_data_Table* findFrontLeft(const CalibrationRecords& records);

/** Bands with these gains in dB, as the service sends them to a client. */
::android::hardware::hidl_vec<V3_0::bandEqualizer> makeBands(const float (&gains)[kBands]);

}  // namespace com::tovi::dtv::hardware::audio::acoustic_calibration
