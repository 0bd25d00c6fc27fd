// SPDX-License-Identifier: Apache-2.0
#include "fault_table.h"

namespace hidlaudio::host {
namespace {

constexpr char kRead[] = "a_mtktvapi_config_get_value";
constexpr char kWrite[] = "a_mtktvapi_config_set_value";
constexpr char kConnect[] = "MTAL_InitExCb";
constexpr char kGetSpec[] = "MTDRVCUST_dcustom_cust_spec_get";
constexpr char kSetSpec[] = "MTDRVCUST_dcustom_cust_spec_set";
constexpr char kReady[] = "file /soc/audio_post/ready hex 310a";
constexpr char kNotReady[] = "file /soc/audio_post/ready hex 300a";
constexpr char kBooted[] = "file /soc/bectrl/boot_state hex 310a";
constexpr char kNotBooted[] = "file /soc/bectrl/boot_state hex 300a";

}  // namespace

// clang-format off
constexpr std::initializer_list<FaultRow> kFaultRows = {
    {"hdmiaudio", "getArcDdCapability, MTKTVAPI failed:ret = {status:i}", kRead, nullptr, 0, 0},
    {"hdmiaudio", "getEarcDdCapability, MTKTVAPI failed:ret = {status:i}", kRead, nullptr, 0, 1},
    {"hdmiaudio", "getArcMp4Capability, MTKTVAPI failed:ret = {status:i}", kRead, nullptr, 0, 2},
    {"AudioOutSp", "getSurroundType, MTKTVAPI failed:ret = {status:i}", kRead, nullptr, 0, 0},
    {"AudioOutSp", "getSurroundType, MTKTVAPI CFG_AUD_SPEAKER failed:ret = {status:i}", kRead, nullptr, 0, 1},
    {"AudioOutSp", "a_mtktvapi_config_get_value failed:ret = {status:i}", kRead, nullptr, 0, 0},
    {"hidlaudio", "getForceEncodingEnabled, MTKTVAPI failed:ret = {status:i}", kRead, nullptr, 0, 0},
    {"hidlaudio", "setForceEncodingEnabled, MTKTVAPI failed:ret = {status:i}", kWrite, nullptr, 0, 0},
    {"AudioOutSp", "set tv position:value = {:i}, result = {status:i}", kWrite, nullptr, 0, 0},
    {"hidlaudio", "[OutputExternal] set bitstream output mode {:i},  result {status:i}", kWrite, nullptr, 0, 0},
    {"hidlaudio", "[OutputExternal] prev setting not exist. set bitstream output mode {:i},  result {status:i}", kWrite, nullptr, 0, 0},

    {"AudioOutSp", "MTAUDDEC_GetChannelMainDelaySp failed. ret:{status:i}", "MTAUDDEC_GetChannelMainDelaySp", nullptr, 0, 0},
    {"AudioAC", "[setCalibratedDataToAudioDriver] MTAUDDEC_Set32EqualizerBandConfig failed. ret:{status:i}", "MTAUDDEC_Set32EqualizerBandConfig", nullptr, 0, 0},
    {"AudioAC", "[setCalibratedDataToAudioDriver] MTAUDDEC_SetAcVolumeOffset failed. ret:{status:i}", "MTAUDDEC_SetAcVolumeOffset", nullptr, 0, 0},
    {"AudioAC", "[checkCpupostReady] MTAUDPOST_GetParameters failed!!({status:i})", "MTAUDPOST_GetParameters", nullptr, 0, 0},

    {"hdmiaudio", "ERROR: HdmiAudio MTAL_Init.... , r = {status:i}", kConnect, nullptr, 0, 0},
    {"hidlaudio", "ERROR: OutputExternal MTAL_Init.... , r = {status:i}", kConnect, nullptr, 1, 0},
    {"AudioOutSp", "ERROR: OutputSpeaker MTAL_Init.... , r = {status:i}", kConnect, nullptr, 2, 0},
    {"AudioAC", "[checkBeCtrlBoot] AC MTAL_Init failed, ret = {status:i}", kConnect, nullptr, 3, 0},
    {"AudioAC", "[setCalibratedDataToBeCtrl] AC MTAL_Init failed, ret = {status:i}", kConnect, nullptr, 4, 0},
    {"AudioHV", "[checkBeCtrlBootForHV] HV MTAL_Init failed, Return:{status:i}", kConnect, nullptr, 5, 0},
    {"AudioHV", "[setEnabledToBeCtrl] HV MTAL_Init failed, Return:{status:i}", kConnect, nullptr, 0, 0},
    {"hidlaudio", "[CenterSpeaker] MTAL_Init fail.", "MTAL_Init", "-1", 1, 0},

    {"AudioAC", "[isBeModel] Eeprom init fail.", "MTEEPROM_Init", "-1", 0, 0},
    {"hidlaudio", "[CenterSpeaker] Eeprom init fail.", "MTEEPROM_Init", "-1", 1, 0},
    {"AudioHV", "[isBeModelForHV] Eeprom init failed.", "MTEEPROM_Init", "-1", 2, 0},
    {"AudioAC", "[isBeModel] Eeprom read fail.", "MTEEPROM_Read", "-1", 0, 0},
    {"hidlaudio", "[CenterSpeaker] Eeprom read fail.(segment)", "MTEEPROM_Read", "-1", 1, 0},
    {"hidlaudio", "[CenterSpeaker] Eeprom read fail.(center_speaker_mode)", "MTEEPROM_Read", "-1", 2, 0},
    {"AudioHV", "[isBeModelForHV] Eeprom read failed.", "MTEEPROM_Read", "-1", 3, 0},

    {"AudioAC", "[checkBeCtrlBoot] MTDRVCUST_dcustom_cust_spec_get failed!!({status:i})", kGetSpec, nullptr, 0, 0},
    {"AudioHV", "[checkBeCtrlBootForHV] MTDRVCUST_dcustom_cust_spec_get failed!!({status:i})", kGetSpec, nullptr, 1, 0},
    {"AudioAC", "[setCalibratedDataToBeCtrl] MTDRVCUST_dcustom_cust_spec_set failed!!({status:i})", kSetSpec, nullptr, 0, 0},
    {"AudioHV", "[setEnabledToBeCtrl] MTDRVCUST_dcustom_cust_spec_set failed!!({status:i}) type:{:x}", kSetSpec, nullptr, 0, 0},

    {"AudioOutSp", "load audio interface failed", "openPrimaryDevice", "1", 0, 0},
    {"AudioAC", "load audio interface failed", "openPrimaryDevice", "1", 1, 0},
    {"MicControl", "load audio interface failed", "openPrimaryDevice", "1", 2, 0},
    {"MicControl", "setParameters failed", "setParameters", "3", 0, 0},
    {"AudioHV", "[paramTransferThread] Acquire Wakelock failed(errno:{status:i}).", "acquire_wake_lock", nullptr, 0, 0},
    {"AudioHV", "Release Wakelock failed(errno:{status:i}).", "release_wake_lock", nullptr, 0, 0},

    {"hidlaudio", "[OutputExternal] open file {:s} failed, errno {errno:i}", "open", nullptr, 0, 0},
    {"hidlaudio", "[setForceEncodingEnabled] open file {:s} failed, errno {errno:i}", "open", nullptr, 0, 0},
    {"hidlaudio", "[setForceEncodingEnabled] write(data={:i}) ret = -1", "write", "EIO", 0, 0},
    {"AudioAC", "[getEnabledOnBoot] open filed, {:s} failed, errno {errno:i}", "open", nullptr, 2, 0},
    {"AudioAC", "[getEnabledOnBoot] read AcousticCalibration enabled data failed, errno {errno:i}", "read", nullptr, 1, 0},
    {"AudioAC", "[getEnabledOnBoot] write AcousticCalibration enabled data failed, errno {errno:i}", "write", nullptr, 0, 0},
    {"AudioAC", "[setEnabledData] open error", "open", "EACCES", 0, 0},
    {"AudioAC", "[setEnabledData] write AcousticCalibration enabled data failed, errno {errno:i}", "write", nullptr, 0, 0},
    {"AudioAC", "[getEnabled] fread AcousticCalibration enabled data failed, errno {errno:i}", "fread", nullptr, 0, 0},
    {"AudioAC", "[setCalibratedData] open error", "open", "EACCES", 0, 0},
    {"AudioAC", "[setCalibratedData] write failed, errno {errno:i}", "write", nullptr, 0, 0},
    {"AudioAC", "[setCalibratedData] remove failed, errno {errno:i}", "remove", nullptr, 0, 0},
    {"AudioAC", "[readCalibratedData] fopen failed, errno {errno:i}", "fopen", nullptr, 0, 0},
    {"AudioAC", "[readCalibratedData] fread failed, errno {errno:i}", "fread", nullptr, 0, 0},
    {"AudioAC", "[readCalibratedData] fseek failed, errno {errno:i}", "fseek", nullptr, 0, 0},
    {"AudioAC", "[getCalibrationParameters] fopen failed, errno {tuning:i}", "fopen", nullptr, 0, 0},
    {"AudioAC", "[getCalibrationParameters] fseek failed, errno {errno:i}", "fseek", nullptr, 0, 0},
    {"AudioAC", "[getCalibrationParameters] fread failed, errno {errno:i}", "fread", nullptr, 0, 0},
    {"hidlaudio", "[readMmCecFromAqdata] fopen failed, errno {tuning:i}", "fopen", nullptr, 0, 0},
    {"hidlaudio", "[readMmCecFromAqdata] fseek failed, errno {errno:i}", "fseek", nullptr, 0, 0},
    {"hidlaudio", "[readMmCecFromAqdata] fread failed, errno {errno:i}", "fread", nullptr, 0, 0},
    {"AudioHV", "[readBeCtrlTransferState] fread proc file failed! errno:{errno:i}", "fread", nullptr, 0, 0},
    {"AudioHV", "[readBeCtrlTransferState] Proc file open failed!", "fopen", "EACCES", 0, 0},
    {"AudioHV", "[paramTransferThread] Proc file open failed!", "fopen", "EACCES", 0, 2},
    {"AudioHV", "[paramTransferThread] regist FD failed!!(proc)", "epoll_ctl", "ENOMEM", 0, 0},
    {"AudioHV", "[paramTransferThread] regist FD failed!!(timer)", "epoll_ctl", "ENOMEM", 0, 1},
    {"AudioHV", "[paramTransferThread] start timer failed!!", "timerfd_settime", "EINVAL", 0, 0},
    {"AudioHV", "[apply] paramTransferThread create Failed.", "pthread_create", "EAGAIN", 0, 0},
};

constexpr std::initializer_list<ConditionRow> kConditionRows = {
    {"AudioAC", "[checkCpupostReady] wait cpupost Ready timeout.", kNotReady, kReady},
    {"AudioAC", "[checkBeCtrlBoot] wait BeCtrl launch timeout.", kNotBooted, kBooted},
    {"AudioHV", "[checkBeCtrlBootForHV] wait BeCtrl launch timeout.", kNotBooted, kBooted},
    {"AudioHV", "[paramTransferThread] epoll timeout!!", "tv bectrl {kind} hang on", nullptr},
    {"AudioHV", "[setParametersToBeCtrl] bectrl device file open failed! : ({:i})", "tv bectrl open_fails on", nullptr},
    {"AudioHV", "[notifyCancelToBeCtrl] bectrl device file open failed! : ({:i})", "tv bectrl open_fails on", nullptr},
    {"AudioHV", "[setParametersToBeCtrl] ioctl() failed! : ({:i})", "tv bectrl {kind} ioctl_fails on", nullptr},
    {"AudioHV", "[notifyCancelToBeCtrl] ioctl() failed! : ({:i})", "tv bectrl {kind} ioctl_fails on", nullptr},
};

constexpr std::initializer_list<UnknownRow> kUnknownRows = {
    {"hidlaudio", "load audio interface failed", "the TV does not declare its audio HAL; the scenario's TV does"},
    {"hidlaudio", "[debug] the state cannot be written whole: {:s}", "a reader of the state was too slow; no line of the scenario reads it"},
    {"HidlAudio", "########## HIDL {:s}registerAsService() is failed:", "a service could not be registered; the scenario does not make that happen"},
    {"hidlaudio", "[setForceEncodingEnabled] write(data={:i}) ret = {:0|1|2|3}", "a short write is not injected"},
};
// clang-format on

}  // namespace hidlaudio::host
