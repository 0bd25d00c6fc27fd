// SPDX-License-Identifier: Apache-2.0
#include "call_table.h"

#include <algorithm>
#include <iterator>

namespace hidlaudio::host {
namespace {

constexpr char kHdmi[] = "com.tovi.dtv.hardware.audio@3.1::IHdmiAudio";
constexpr char kExternal[] = "com.tovi.dtv.hardware.audio@3.1::IOutputExternal";
constexpr char kStatus[] = "com.tovi.dtv.hardware.audio@3.1::IOutputEncodingStatusListener";
constexpr char kSpeaker[] = "com.tovi.dtv.hardware.audio@6.1::IOutputSpeaker";
constexpr char kCenter[] = "com.tovi.dtv.hardware.audio@4.0::ICenterSpeaker";
constexpr char kCalibration[] = "com.tovi.dtv.hardware.audio@5.1::IAcousticCalibration";
constexpr char kVirtualizer[] = "com.tovi.dtv.hardware.audio@5.1::IHeadphoneVirtualizer";
constexpr char kMic[] = "com.tovi.dtv.hardware.audio@6.1::IMicControl";

constexpr char kListener[] = R"({"listener":{"object":"listener"}})";
constexpr char kBuiltInMic[] = R"({"micDevice":"AUDIO_DEVICE_IN_BUILTIN_MIC"})";
constexpr char kFlatSound[] = R"({"data":[{"channel":"FL","equalizer":[],"level":0.0,"delay":0.0}]})";

}  // namespace

// clang-format off
constexpr std::initializer_list<CallRow> kCallRows = {
    {"hdmiaudio", kHdmi, "getAudioCapabilities", "HIDL getAudioCapabilities", nullptr, nullptr},
    {"hdmiaudio", kHdmi, "setAudioCapabilities", "HIDL hdmiaudio set", "HIDL hdmiaudio set finish", R"({"capabilities":[]})"},
    {"hdmiaudio", kHdmi, "setCallback", "set callback", nullptr, R"({"callback":{"object":"callback"}})"},
    {"hdmiaudio", kHdmi, "setCallback", "callback is nullptr. skip setCallback", nullptr, nullptr},

    {"hidlaudio", kExternal, "setForceEncodingEnabled", "[setForceEncodingEnabled] start enable:{enable:b}", "[setForceEncodingEnabled] end ret:{result:i}", nullptr},
    {"hidlaudio", kExternal, "getForceEncodingEnabled", "[getForceEncodingEnabled] start", "[getForceEncodingEnabled] end ret:{enabled:b}", nullptr},
    {"hidlaudio", kExternal, "setEncodingFormat", "[setEncodingFormat] start", nullptr, R"({"format":"auto"})"},
    {"hidlaudio", kExternal, "getEncodingFormat", "[getEncodingFormat] start", nullptr, nullptr},
    {"hidlaudio", kExternal, "getAvailableEncodingFormats", "[getAvailableEncodingFormats] start", nullptr, nullptr},
    {"hidlaudio", kExternal, "registerEncodingFormatListener", "[registerEncodingFormatListener] start", nullptr, kListener},
    {"hidlaudio", kExternal, "unregisterEncodingFormatListener", "[unregisterEncodingFormatListener] start", nullptr, kListener},
    {"hidlaudio", kStatus, "onForceEncodingChanged", "[onForceEncodingChanged] start", nullptr, R"({"enabled":true})"},
    {"hidlaudio", kStatus, "onEncodingFormatChanged", "[onEncodingFormatChanged] start", nullptr, R"({"format":"auto"})"},

    {"AudioOutSp", kSpeaker, "getSurroundType", "[getSurroundType] start", "[getSurroundType] end ret:{type:i}", nullptr},
    {"AudioOutSp", kSpeaker, "getTvPosition", "[getTvPosition] start", "[getTvPosition] end:ret = {type:i}", nullptr},
    {"AudioOutSp", kSpeaker, "setTvPosition", "[setTvPosition] start:type = {type:i}", "[setTvPosition] end:ret = {result:i}", nullptr},
    {"AudioOutSp", kSpeaker, "getDelay", "[getDelay] start", "[getDelay] end:ret = {delay:i}", nullptr},

    {"hidlaudio", kCenter, "getCenterSpeakerAcousticsType", "[getCenterSpeakerAcousticsType] start", "[getCenterSpeakerAcousticsType] Return: TvSpeakerType={types/0:i}", nullptr},
    {"hidlaudio", kCenter, "getCenterSpeakerLatency", "[getCenterSpeakerLatency] start", "[getCenterSpeakerLatency] Return: samplingRate={latency/samplingRate:i}, samples={latency/samples:i}", nullptr},
    {"hidlaudio", kCenter, "isCenterSpeakerInputAvailable", nullptr, "[isCenterSpeakerInputAvailable] Return: {available:b}", nullptr},
    {"hidlaudio", kCenter, "isSynchronizedCenterSpeakerInputAvailable", nullptr, "[isSynchronizedCenterSpeakerInputAvailable] Return: {available:b}", nullptr},

    {"AudioAC", kCalibration, "setEnabled", "[setEnabled] start enable:{enable:b}", "[setEnabled] end Return: {result:i}", nullptr},
    {"AudioAC", kCalibration, "getEnabled", "[getEnabled] start", "[getEnabled] end Return: {enabled:b}", nullptr},
    {"AudioAC", kCalibration, "setCalibratedData", "[setCalibratedData] start", "[setCalibratedData] end", kFlatSound},
    {"AudioAC", kCalibration, "getCalibratedData", "[getCalibratedData] start", "[getCalibratedData] end", nullptr},
    {"AudioAC", kCalibration, "getCalibrationParameters", "[getCalibrationParameters] start", "[getCalibrationParameters] end", nullptr},
    {"AudioAC", kCalibration, "setSmoothDelayEnabled", "[setSmoothDelayEnabled] start arg:{enable:b}", "[setSmoothDelayEnabled] end Return: {result:i}", nullptr},
    {"AudioAC", kCalibration, "getSmoothDelayEnabled", nullptr, "[getSmoothDelayEnabled] Return: {enabled:b}", nullptr},
    {"AudioAC", kCalibration, "setSmoothDelay", "[setSmoothDelay] start", "[setSmoothDelay] end Return: {result:i}", R"({"delays":[0.0,0.0]})"},
    {"AudioAC", kCalibration, "getSmoothDelay", "[getSmoothDelay] start", "[getSmoothDelay] end", nullptr},

    {"AudioHV", kVirtualizer, "setVirtualizerEnabled", "[setVirtualizerEnabled] start. enable:{enable:b}", "[setVirtualizerEnabled] end. Return:{result:i}", nullptr},
    {"AudioHV", kVirtualizer, "getVirtualizerEnabled", "[getVirtualizerEnabled] start", "[getVirtualizerEnabled] end. Return:{enabled:b}", nullptr},
    {"AudioHV", kVirtualizer, "setVirtualizerType", "[setVirtualizerType] start type=[{type:s}]", "[setVirtualizerType] end Return: {result:i}", nullptr},
    {"AudioHV", kVirtualizer, "getVirtualizerType", "[getVirtualizerType] start", "[getVirtualizerType] end Return type=[{type:s}]", nullptr},
    {"AudioHV", kVirtualizer, "getAvailableVirtualizerTypes", "[getAvailableVirtualizerTypes] start", "[getAvailableVirtualizerTypes] types[i]=[{types/0:s}]", nullptr},
    {"AudioHV", kVirtualizer, "setUpmixEnabled", "[setUpmixEnabled] start. enable:{enable:b}", "[setUpmixEnabled] end. Return:{result:i}", nullptr},
    {"AudioHV", kVirtualizer, "getUpmixEnabled", "[getUpmixEnabled] start", "[getUpmixEnabled] end. Return:{enabled:b}", nullptr},
    {"AudioHV", kVirtualizer, "allocateParameterBuffer", "[allocateParameterBuffer] start. ParamType={type:p}, size={size:i}", "[allocateParameterBuffer] end. handle:{bufferHandle:i}", nullptr},
    {"AudioHV", kVirtualizer, "discardParameterBuffer", "[discardParameterBuffer] start. handle={bufferHandle:i}", "[discardParameterBuffer] end. Return:{result:i}", nullptr},
    {"AudioHV", kVirtualizer, "getMaxAppendSize", "[getMaxAppendSize] start", "[getMaxAppendSize] end. Return:{size:i}", nullptr},
    {"AudioHV", kVirtualizer, "append", "[append] start. handle={bufferHandle:i}", "[append] end. Return:{result:i}", R"({"data":{"size":0}})"},
    {"AudioHV", kVirtualizer, "apply", "[apply] start. handle:{bufferHandle:i}", "[apply] end. Return:{result:i}", R"({"callback":{"object":"callback"}})"},
    {"AudioHV", kVirtualizer, "cancel", "[cancel] start. handle={bufferHandle:i}", "[cancel] end. Return:{result:i}", nullptr},

    {"MicControl", kMic, "setMicGain", "[setMicGain] start micDevice=[{micDevice:s}] scale=[{scale:f}]", "[setMicGain] end ret:{result:i}", nullptr},
    {"MicControl", kMic, "getMicGain", "[getMicGain] start", "[getMicGain] end:scale = {scale:f}", kBuiltInMic},
    {"MicControl", kMic, "getMicDevices", "[getMicDevices] start", "[getMicDevices] end", nullptr},
};

/** The field `lengths` counts how often the list of capabilities was logged. */
constexpr std::initializer_list<DetailRow> kDetailRows = {
    {"setAudioCapabilities", "setArcDdCapability, capas list length: {lengths+:i}", nullptr, false, "capabilities"},
    {"setAudioCapabilities", "setArcMp4Capability, capas list length: {lengths+:i}", nullptr, false, "capabilities"},
    {"setAudioCapabilities", "setArcDdCapability, capas : {capabilities+:s}", nullptr, false, "capabilities"},
    {"setAudioCapabilities", "setArcMp4Capability, capas : {capabilities+:s}", nullptr, false, "capabilities"},
    {"getAudioCapabilities", "getArcMp4Capability, caps = {:s}", nullptr, true, nullptr},
    {"setCallback", "callback is nullptr. skip setCallback", R"({"callback":null})", true, nullptr},
    {"setCalibratedData", "[checkCalibratedData] [Volume] is NG.  ffsetLevel: {data/0/level:f}", nullptr, false, nullptr},
    {"setCalibratedData", "[checkCalibratedData] [Delay] is NG.  ffsetLevel: {data/0/delay:f}", nullptr, false, nullptr},
    {"setCalibratedData", "[checkCalibratedData] [GEQ Gain] is NG.  ffsetLevel: {data/0/equalizer/0/gain:f}", nullptr, false, nullptr},
    {"setVirtualizerEnabled", "[setVirtualizerEnabled] end. HRTF is not supported. Return:{result:i}", nullptr, true, nullptr},
    {"setUpmixEnabled", "[setUpmixEnabled] end. HRTF is not supported. Return:{result:i}", nullptr, true, nullptr},
    {"getVirtualizerEnabled", "[getVirtualizerEnabled] end. HRTF is not supported.", nullptr, true, nullptr},
    {"getUpmixEnabled", "[getUpmixEnabled] end. HRTF is not supported.", nullptr, true, nullptr},
    {"getCalibratedData", "[getCalibratedData] end readCalibratedData failed", nullptr, true, nullptr},
    {"append", "[appendInt] start.  registered size={:i},  append accumulation={:i}, data size={data/size:i}", nullptr, false, nullptr},
    {"append", "[append] data size error. max append size={:i}, append size={data/size:i}", nullptr, false, nullptr},
    {"apply", "[apply] callback object is nullptr.", R"({"callback":null})", true, "callback"},
    {"apply", "[apply] ParamType={kind:i}", nullptr, false, nullptr},
    {"append", "[append] ParamType={kind:i}", nullptr, false, nullptr},
    {"cancel", "[cancel] ParamType={kind:i}", nullptr, false, nullptr},
    {"discardParameterBuffer", "[discardParameterBuffer] ParamType={kind:i}", nullptr, false, nullptr},
    {"setMicGain", "setParameters failed", nullptr, true, nullptr},
    {"setMicGain", "PrimaryHAL getService fails", nullptr, true, nullptr},
    {"setMicGain", "Illegal parameters: {:s}", nullptr, true, nullptr},
    {"getMicGain", "Illegal parameters: micDevice:{micDevice:s}", nullptr, true, "micDevice"},
};

namespace {

/** Begins of the lines of transfer threads, and of the notices that a client has died. */
constexpr std::string_view kAsynchronous[] = {
    "[paramTransferThread]", "paramTransferThread finished", "Acquire Wakelock", "Release Wakelock",
    "[setParametersToBeCtrl]", "Monitored process died", "remove callback",
};

/** Other texts with which the daemon identifies itself. */
constexpr std::string_view kOtherTexts[] = {
    "HIDL ", "set callback", "callback is nullptr", "########## HIDL", "[HdmiAudio]", "[OutputExternal]",
    "[OutputSpeaker]", "[AcousticCalibration]", "[CenterSpeaker]", "[HeadphoneVirtualizer]", "[MicControl]",
    "<<<<<hdmiaudio waiting", "<<<<<hidlaudio ",
};
// clang-format on

template <typename Starts>
bool startsWithAny(std::string_view text, const Starts& starts) {
    return std::any_of(std::begin(starts), std::end(starts),
                       [text](std::string_view start) { return text.substr(0, start.size()) == start; });
}

}  // namespace

const CallRow* findCallRow(std::string_view method) {
    const auto* const found = std::find_if(kCallRows.begin(), kCallRows.end(),
                                           [method](const CallRow& row) { return method == row.method; });
    return found != kCallRows.end() ? found : nullptr;
}

bool isDaemonStart(std::string_view tag, std::string_view text) {
    return tag == "HidlAudio" && text.find("HIDL server side: main() is called") != std::string_view::npos;
}

bool isDaemonText(std::string_view tag, std::string_view text) {
    if (isDaemonStart(tag, text) || startsWithAny(text, kOtherTexts) || startsWithAny(text, kAsynchronous))
        return true;
    const CallRow* const row = findCallRow(bracketedName(text));
    return row != nullptr && tag == row->tag;
}

bool isAsynchronous(std::string_view text) {
    return startsWithAny(text, kAsynchronous);
}

std::string_view bracketedName(std::string_view text) {
    const size_t end = text.empty() || text[0] != '[' ? std::string_view::npos : text.find(']');
    return end == std::string_view::npos ? std::string_view() : text.substr(1, end - 1);
}

}  // namespace hidlaudio::host
