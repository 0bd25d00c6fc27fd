// SPDX-License-Identifier: Apache-2.0
#include "CenterSpeaker.h"

#include <optional>

#include "platform/eeprom.h"
#include "platform/log.h"
#include "platform/middleware_session.h"
#include "platform/readiness.h"
#include "platform/tuning_file.h"
#include "platform/write_dump.h"

namespace com::tovi::dtv::hardware::audio::V4_0::implementation {
namespace {

using ::android::hardware::Void;
using platform::kNoTag;
using platform::logDebug;
using platform::logError;
using platform::logWarning;

constexpr platform::DtvSvcWait kReadiness{kNoTag,
                                          10,
                                          platform::kDtvSvcWaiting,
                                          platform::kDtvSvcReady,
                                          -1,
                                          ANDROID_LOG_ERROR,
                                          "[CenterSpeaker] dtv_svc rpc server failed [TimeOut]."};
constexpr platform::MiddlewareOpening kOpening{platform::MiddlewareSession::Drivers, kNoTag,
                                               "[CenterSpeaker] MTAL_Init fail.", nullptr, nullptr};
constexpr long kBlockOffset = 23924;
constexpr uint32_t kLargestAcousticsType = 255;
constexpr int32_t kSamplingRate = 48000;
constexpr int32_t kDefaultLatency = 576;
constexpr uint32_t kSegmentAddress = 0x10089;
constexpr uint32_t kModeAddress = 0x10116;

/** The center speaker's block of the model's acoustic tuning file, in the layout of the file. */
struct Block {
    uint32_t acousticsType;
    int32_t latency;  // in samples
    uint8_t unused[12];
};
static_assert(sizeof(Block) == 20, "the file's layout");

/** Values that the constructor has read. */
struct Findings {
    int32_t aqDataStatus = -1;  // 0 if the whole block was read
    Block block{};
    bool inputAvailable = false;
    bool synchronizedInputAvailable = false;
};

Findings findings;

int32_t readMmCecFromAqdata() {
    const bool read =
        platform::readTuningFile(kNoTag, __func__, {{kBlockOffset, &findings.block, sizeof(Block)}});
    return read ? 0 : -1;
}

bool hasCentreInput(uint8_t segment) {
    return segment == 'S' || segment == 'T';
}

/** Reads the flags of the model. A flag that cannot be read stays false. */
void readModel(const char* function) {
    if (openMiddleware(kOpening) != 0) return;
    if (platform::initEeprom() != 0) {
        logError(kNoTag, "[%s] Eeprom init fail.", function);
        return;
    }
    uint8_t segment = 0;
    if (platform::readEepromByte(kSegmentAddress, segment) != 0) {
        logError(kNoTag, "[%s] Eeprom read fail.(segment)", function);
    }
    findings.inputAvailable = hasCentreInput(segment);
    uint8_t mode = 0;
    if (platform::readEepromByte(kModeAddress, mode) != 0) {
        logError(kNoTag, "[%s] Eeprom read fail.(center_speaker_mode)", function);
    }
    findings.synchronizedInputAvailable = mode != 0;
}

bool hasAqData(const char* function) {
    if (findings.aqDataStatus == 0) return true;
    logWarning(kNoTag, "[%s] Exist problem in AQData access.", function);
    return false;
}

platform::ServiceState describe() {
    const bool read = findings.aqDataStatus == 0;
    const auto ofBlock = [read](const char* name, int64_t value) {
        return platform::number(name, read ? std::optional(value) : std::nullopt);
    };
    return {"CenterSpeaker",
            {{"tuning_data",
              {platform::text("file", platform::kTuningFile), platform::yesNo("read", read),
               ofBlock("acoustics_type", findings.block.acousticsType),
               ofBlock("latency_samples", findings.block.latency)}},
             {"model",
              {platform::yesNo("input_available", findings.inputAvailable),
               platform::yesNo("synchronized_input_available", findings.synchronizedInputAvailable)}}}};
}

}  // namespace

CenterSpeaker::CenterSpeaker() {
    logDebug(kNoTag, "[%s] start", __func__);
    findings = {};
    findings.aqDataStatus = readMmCecFromAqdata();
    if (findings.aqDataStatus != 0) return;
    if (waitForDtvSvc(kReadiness) != 0) return;
    readModel(__func__);
    logDebug(kNoTag, "[%s] end", __func__);
}

Return<void> CenterSpeaker::getCenterSpeakerAcousticsType(getCenterSpeakerAcousticsType_cb _hidl_cb) {
    logDebug(kNoTag, "[%s] start", __func__);
    int16_t type = 0;
    if (hasAqData(__func__) && findings.block.acousticsType <= kLargestAcousticsType) {
        type = static_cast<int16_t>(findings.block.acousticsType);
    }
    logDebug(kNoTag, "[%s] Return: TvSpeakerType=%d", __func__, type);
    _hidl_cb({type});
    return Void();
}

Return<void> CenterSpeaker::getCenterSpeakerLatency(getCenterSpeakerLatency_cb _hidl_cb) {
    logDebug(kNoTag, "[%s] start", __func__);
    const SampleLatency latency{kSamplingRate,
                                hasAqData(__func__) ? findings.block.latency : kDefaultLatency};
    logDebug(kNoTag, "[%s] Return: samplingRate=%d, samples=%d", __func__, latency.samplingRate,
             latency.samples);
    _hidl_cb(latency);
    return Void();
}

Return<bool> CenterSpeaker::isCenterSpeakerInputAvailable() {
    logDebug(kNoTag, "[%s] Return: %d", __func__, findings.inputAvailable);
    return findings.inputAvailable;
}

Return<bool> CenterSpeaker::isSynchronizedCenterSpeakerInputAvailable() {
    logDebug(kNoTag, "[%s] Return: %d", __func__, findings.synchronizedInputAvailable);
    return findings.synchronizedInputAvailable;
}

Return<void> CenterSpeaker::debug(const hidl_handle& fd, const hidl_vec<hidl_string>& options) {
    platform::writeDump(fd, options, describe);
    return Void();
}

}  // namespace com::tovi::dtv::hardware::audio::V4_0::implementation
