// SPDX-License-Identifier: Apache-2.0
#include "tv_values.h"

#include <string.h>

#include <algorithm>
#include <charconv>
#include <iterator>
#include <string_view>

#include "host/program/hex.h"
#include "host/program/parse_number.h"
#include "service_state.h"

namespace hidlaudio::host {
namespace {

constexpr char kMissing[] = "missing";
constexpr char kDelayFile[] = "/soc/audio_decoder/channel_main_delay_sp";
constexpr char kPosition[] = "/soc/config/g_audio__tv_position";
constexpr char kSurround[] = "/soc/config/g_audio__spk_sur_type";
constexpr char kMode[] = "/soc/config/g_audio__bitstream_output_mode";
constexpr char kArcDd[] = "/soc/config/g_audio__arc_dd_plus_capab";
constexpr char kEarcDd[] = "/soc/config/g_audio__earc_ddp_cap";
constexpr char kArcMp4[] = "/soc/config/g_audio__arc_mpeg4_aac_lc_capab";

/** Values of a new TV. */
constexpr std::pair<const char*, const char*> kFactoryValues[] = {
    {kPosition, "0\n"},
    {kSurround, "1\n"},
    {kMode, "0\n"},
    {kArcDd, "2\n"},
    {kEarcDd, "2\n"},
    {kArcMp4, "1\n"},
    {kDelayFile, "20\n"},
    {kEnabledFile, kMissing},
    {kBitstreamModeFile, kMissing},
    {kGainFile, "0.000000\n"},
    {kCalibrationFile, kMissing},
    {"/soc/config/g_audio__aud_speaker", "0\n"},
};

enum class Form { Line, Byte, Word, Missing };
/** `Cut`: a read has reached the end of the file, or a write has failed. */
enum class Access { Read, Write, Cut };

/** A line that shows a value. */
struct ValueRow {
    const char* tag;
    const char* pattern;  // with a field `value`, unless `value` is set
    Access access;
    Form form;
    const char* path;
    const char* value;
};

// clang-format off
constexpr ValueRow kValues[] = {
    {"AudioOutSp", "get tv position:{value:i}", Access::Read, Form::Line, kPosition, nullptr},
    {"AudioOutSp", "get tv position:value = {value:i}, result = 0", Access::Read, Form::Line, kPosition, nullptr},
    {"AudioOutSp", "set tv position:value = {value:i}, result = 0", Access::Write, Form::Line, kPosition, nullptr},
    {"AudioOutSp", "[getSurroundType] end ret:{value:i}", Access::Read, Form::Line, kSurround, nullptr},
    {"AudioOutSp", "[getDelay] end:ret = {value:i}", Access::Read, Form::Line, kDelayFile, nullptr},
    {"hdmiaudio", "getArcDdCapability, caps = {value:ARC_DD_NONE|ARC_DD_PLUS|ARC_DD_ATMOS}", Access::Read, Form::Line, kArcDd, nullptr},
    {"hdmiaudio", "getEarcDdCapability, caps = {value:EARC_DD_NONE|EARC_DD_PLUS|EARC_DD_ATMOS}", Access::Read, Form::Line, kEarcDd, nullptr},
    {"hdmiaudio", "getArcMp4Capability, caps = {value:ARC_MP4AAC_NONE|ARC_MP4AAC_5_1|ARC_MP4AAC_7_1|ARC_MP4AAC_22_2}", Access::Read, Form::Line, kArcMp4, nullptr},
    {"hdmiaudio", "getArcDdCapability, invalid value = {value:i}", Access::Read, Form::Line, kArcDd, nullptr},
    {"hdmiaudio", "getEarcDdCapability, invalid value = {value:i}", Access::Read, Form::Line, kEarcDd, nullptr},
    {"hdmiaudio", "getArcMp4Capability, invalid value = {value:i}", Access::Read, Form::Line, kArcMp4, nullptr},
    {"hdmiaudio", "setArcDdCapability, call set API capas : {value:i}", Access::Write, Form::Line, kArcDd, nullptr},
    {"hdmiaudio", "setArcMp4Capability, call set API capas : {value:i}", Access::Write, Form::Line, kArcMp4, nullptr},
    {"hidlaudio", "[getForceEncodingEnabled] end ret:1", Access::Read, Form::Line, kMode, "0"},
    {"hidlaudio", "[getForceEncodingEnabled] end ret:0", Access::Read, Form::Line, kMode, "2"},
    {"hidlaudio", "[OutputExternal] set bitstream output mode {value:i},  result 0", Access::Write, Form::Line, kMode, nullptr},
    {"hidlaudio", "[OutputExternal] set bitstream output mode {value:i},  result {:i}", Access::Read, Form::Word, kBitstreamModeFile, nullptr},
    {"hidlaudio", "[OutputExternal] prev setting not exist. set bitstream output mode {value:i},  result 0", Access::Write, Form::Line, kMode, nullptr},
    {"hidlaudio", "[OutputExternal] prev setting not exist. {:s}", Access::Read, Form::Missing, kBitstreamModeFile, ""},
    {"hidlaudio", "[setForceEncodingEnabled] write(data={value:i}) ret = {:i}", Access::Write, Form::Line, kMode, nullptr},
    {"hidlaudio", "[setForceEncodingEnabled] write(data={value:i}) ret = 4", Access::Write, Form::Word, kBitstreamModeFile, nullptr},
    {"AudioAC", "[getEnabledOnBoot] open error", Access::Read, Form::Missing, kEnabledFile, ""},
    {"AudioAC", "[getEnabledOnBoot] end Return: {value:i}", Access::Read, Form::Byte, kEnabledFile, nullptr},
    {"AudioAC", "[getEnabledOnBoot] read AcousticCalibration enabled data failed, errno 0", Access::Cut, Form::Line, kEnabledFile, ""},
    {"AudioAC", "[getEnabled] fread AcousticCalibration enabled data failed, errno 0", Access::Cut, Form::Line, kEnabledFile, ""},
    {"AudioAC", "[setEnabledData] write AcousticCalibration enabled data failed, errno {:i}", Access::Cut, Form::Line, kEnabledFile, ""},
    {"AudioAC", "[readCalibratedData] fread failed, errno 0", Access::Cut, Form::Line, kCalibrationFile, ""},
    {"AudioAC", "[getEnabled] fopen error", Access::Read, Form::Missing, kEnabledFile, ""},
    {"AudioAC", "[getEnabled] end Return: {value:i}", Access::Read, Form::Byte, kEnabledFile, nullptr},
    {"AudioAC", "[readCalibratedData] fopen failed, errno 2", Access::Read, Form::Missing, kCalibrationFile, ""},
    {"MicControl", "[getMicGain] end:scale = {value:s}", Access::Read, Form::Line, kGainFile, nullptr},
};

/** A line that shows whether the TV has a back-end controller. */
struct ModelRow {
    const char* tag;
    const char* pattern;
    bool backEnd;
};

constexpr ModelRow kModels[] = {
    {"AudioAC", "[setSmoothDelayEnabled] none BE model", false},
    {"AudioAC", "[setSmoothDelay] none BE model.", false},
    {"AudioAC", "[AcousticCalibration] auto_calib_offset=12.0dB", false},
    {"AudioAC", "[checkCpupostReady]{:s}", false},
    {"AudioAC", "[setCalibratedDataToAudioDriver]{:s}", false},
    {"AudioAC", "[AcousticCalibration] auto_calib_offset= 0.0dB", true},
    {"AudioAC", "[checkBeCtrlBoot]{:s}", true},
    {"AudioAC", "[setCalibratedDataToBeCtrl]{:s}", true},
    {"AudioAC", "[setSmoothDelayEnabled] end Return: {:i}", true},
    {"AudioHV", "[setVirtualizerEnabled] end. Return:0", true},
    {"AudioHV", "[checkBeCtrlBootForHV]{:s}", true},
    {"AudioHV", "[paramTransferThread] read proc file(state)={:s}", true},
    {"AudioHV", "[HeadphoneVirtualizer] end", true},
    {"AudioHV", "[HeadphoneVirtualizer] end. HRTF is not supported.", false},
    {"AudioHV", "[setVirtualizerEnabled] end. HRTF is not supported. {:s}", false},
};
// clang-format on

/** Returns the content of the file that a line shows, or `std::nullopt`. */
std::optional<std::string> contentOf(const ValueRow& row, const DaemonLine& line) {
    Json fields;
    if (line.tag != row.tag || !matchPattern(row.pattern, line.text, fields)) return std::nullopt;
    if (row.form == Form::Missing) return kMissing;
    if (row.value != nullptr) return std::string(row.value) + "\n";
    const Json& value = fields["value"];
    if (row.form == Form::Line) return (value.is_string() ? value.get<std::string>() : value.dump()) + "\n";
    const auto number = value.get<int64_t>();
    if (number < 0) return std::nullopt;
    return littleEndian(static_cast<int32_t>(number), row.form == Form::Byte ? 1 : 4);
}

std::string lineFor(const std::string& path, const std::string& content) {
    if (path.find(kConfigFolder) == 0 && !content.empty()) {
        return "tv config " + path.substr(strlen(kConfigFolder)) + " " +
               content.substr(0, content.size() - 1);
    }
    if (path == kTuningFile) return "file " + path + " copy aqda.bin";
    return "file " + path + " hex" + (content.empty() ? "" : " " + toHex(content));
}

std::string factoryValue(const std::string& path) {
    for (const auto& [known, value] : kFactoryValues)
        if (path == known) return value;
    return kMissing;
}

/** Layout of a channel in the file of calibration results. */
constexpr size_t kRecordSize = 140;
constexpr size_t kBands = 31;

/** Returns the daemon's file of calibration results with a front-left channel of this level in dB. */
std::string calibrationFileOf(float level) {
    std::string content(kRecordSize + 8, '\0');
    content.replace(0, 2, "FL");
    memcpy(&content[8], &level, sizeof(level));
    content[kRecordSize] = 1;
    return content;
}

float floatAt(const std::string& content, size_t offset) {
    float value = 0;
    memcpy(&value, content.data() + offset, sizeof(value));
    return value;
}

/** Returns the shortest number that is rounded to the value. */
Json jsonOf(float value) {
    char text[32];
    *std::to_chars(text, text + sizeof(text) - 1, value).ptr = '\0';
    return Json::parse(text, nullptr, false);
}

/** Returns whether a content of the report can be written by a line of the scenario. */
bool isUsable(const std::string& path, const std::string& content) {
    constexpr char kPlain[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-./";
    // A path must not lead out of the folder of the TV.
    const bool isInside = path.find_first_not_of(kPlain) == std::string::npos && path[0] == '/' &&
                          path.find("..") == std::string::npos;
    if (content.empty() || !isInside) return false;
    if (path.find(kConfigFolder) != 0) return true;
    return content.back() == '\n' &&
           parseNumber<int32_t>(std::string_view(content).substr(0, content.size() - 1));
}

void findCentre(const DaemonLog& log, const Report& report, ModelFinding& model) {
    const std::tuple<const char*, const char*, bool*> kFlags[] = {
        {"[isCenterSpeakerInputAvailable] Return: {value:b}", "centre_input", &model.centreInput},
        {"[isSynchronizedCenterSpeakerInputAvailable] Return: {value:b}", "centre_synchronized",
         &model.centreSynchronized}};
    for (const auto& [pattern, fact, flag] : kFlags) {
        Json fields;
        const auto line =
            std::find_if(log.lines.begin(), log.lines.end(), [&, text = pattern](const DaemonLine& each) {
                return each.tag == "hidlaudio" && matchPattern(text, each.text, fields);
            });
        std::optional<Place> place;
        if (line != log.lines.end()) {
            *flag = fields["value"].get<bool>();
            place = line->place;
        } else if (const auto known = report.facts.find(fact); known != report.facts.end()) {
            *flag = known->second.value == "1";
            place = known->second.place;
        } else {
            *flag = std::string_view(fact) == "centre_synchronized" && model.centreInput;
        }
        const std::string text = std::string(fact) + (*flag ? ": yes" : ": no");
        if (place) model.notes.push_back({*place, text});
        if (!place) model.assumptions.push_back({kNowhere, "nothing shows " + text});
    }
}

}  // namespace

ModelFinding findModel(const DaemonLog& log, const Report& report) {
    ModelFinding model;
    std::optional<Place> place;
    if (const auto known = report.facts.find("back_end"); known != report.facts.end()) {
        model.backEnd = known->second.value == "1";
        place = known->second.place;
    }
    for (size_t i = 0; i < log.lines.size() && !place; ++i) {
        const DaemonLine& line = log.lines[i];
        const auto* const row =
            std::find_if(std::begin(kModels), std::end(kModels), [&line](const ModelRow& each) {
                return line.tag == each.tag && matchPattern(each.pattern, line.text);
            });
        if (row == std::end(kModels)) continue;
        model.backEnd = row->backEnd;
        place = line.place;
    }
    if (place) model.notes.push_back({*place, model.backEnd ? "the model is be" : "the model is standard"});
    if (!place) model.assumptions.push_back({kNowhere, "nothing shows the model of the TV: be"});
    findCentre(log, report, model);
    return model;
}

void TvValues::follow(const Boot& boot, BootCalls& calls, AllSurroundings& surroundings) {
    for (size_t i = boot.first; i < boot.past; ++i) {
        const int context = calls.owners[i - boot.first];
        if (context == kAsynchronousLine) continue;
        observe(log_.lines[i], context, surroundings);
        if (context >= 0 && calls.calls[static_cast<size_t>(context)].last == i)
            noteEffects(calls.calls[static_cast<size_t>(context)]);
    }
}

void TvValues::observe(const DaemonLine& line, int context, AllSurroundings& surroundings) {
    for (const ValueRow& row : kValues) {
        const std::optional<std::string> content = contentOf(row, line);
        if (!content) continue;
        if (row.access == Access::Cut) {
            if (current_.try_emplace(row.path, "").second) cut_[row.path] = line.place;
            current_[row.path] = "";
        } else if (row.access == Access::Write) {
            noteWritten(row.path, *content);
        } else {
            noteRead(row.path, *content, line, context, surroundings);
        }
    }
    Json fields;
    if (context == kBootLine && !enabledAtBoot_ && current_.count(kCalibrationFile) == 0 &&
        matchPattern("[getAutoCalibOffset] offsetLevel:{level:f}dB", line.text, fields)) {
        enabledAtBoot_ = {line.place, fields["level"].dump()};
    }
}

void TvValues::noteRead(const std::string& path, const std::string& content, const DaemonLine& line,
                        int context, AllSurroundings& surroundings) {
    const auto found = current_.find(path);
    const bool isFirst = found == current_.end();
    if (!isFirst && found->second == content) return;
    if (!isFirst && path == kEnabledFile && content == littleEndian(0, 1)) {
        // An empty file is read as 0. The daemon creates the file of the switch if it does not exist.
        if (found->second.empty()) return;
        if (found->second == kMissing) {
            current_[path] = content;
            return;
        }
    }
    current_[path] = content;
    if (isFirst) {
        initial_[path] = content;
        notes.push_back(
            {line.place, content == kMissing ? path + " does not exist" : lineFor(path, content)});
    } else if (content == kMissing) {
        unknown.push_back({line.place, path + " has been removed; the scenario keeps it"});
    } else {
        surroundings[context].before.push_back(lineFor(path, content));
        notes.push_back({line.place, lineFor(path, content) + ", changed by something else"});
    }
}

void TvValues::noteWritten(const std::string& path, const std::string& content) {
    current_[path] = content;
    written_[path] = true;
}

/** Notes the values that a successful call has stored and not logged. */
void TvValues::noteEffects(Call& call) {
    if (call.method == "setCalibratedData" && call.hasEnded) written_[kCalibrationFile] = true;
    if (call.method == "setCalibratedData") current_.try_emplace(kCalibrationFile, "");
    if (integerOf(call.results, "result", -1) != 0) return;
    if (call.method == "setEnabled") {
        noteWritten(kEnabledFile, littleEndian(call.arguments["enable"] == true ? 1 : 0, 1));
    } else if (call.method == "setMicGain" && call.arguments["scale"].is_number()) {
        char text[64];
        snprintf(text, sizeof(text), "%f\n", call.arguments["scale"].get<double>());
        noteWritten(kGainFile, text);
    }
}

std::vector<std::string> TvValues::initialLines() {
    for (const auto& [path, known] : report_.contents) {
        if (initial_.count(path) > 0 || written_[path] || !isUsable(path, known.value)) continue;
        initial_[path] = known.value;
        notes.push_back({known.place, path + " is that of the report, since no call has changed it"});
    }
    for (const auto& [path, place] : cut_) {
        if (initial_.count(path) > 0) continue;
        initial_[path] = "";
        unknown.push_back({place, path + " is cut, but is not in the report; assumed: it is empty"});
    }
    addCalibration();
    std::vector<std::string> lines;
    for (const auto& [path, content] : initial_) {
        if (content != factoryValue(path) && content != kMissing) lines.push_back(lineFor(path, content));
    }
    return lines;
}

/** Makes a stored calibration if the first start has applied one that the report does not have. */
void TvValues::addCalibration() {
    if (!enabledAtBoot_ || initial_.count(kCalibrationFile) > 0) return;
    const Json level = Json::parse(enabledAtBoot_->text, nullptr, false);
    initial_[kCalibrationFile] = calibrationFileOf(level.is_number() ? level.get<float>() : 0.0F);
    unknown.push_back(
        {enabledAtBoot_->place,
         "the stored calibration is not in the report; assumed: a front-left channel of this level"});
}

Json calibrationOf(const std::string& content) {
    Json data = Json::array();
    for (size_t offset = 0; offset + kRecordSize <= content.size() && content[offset] > 1;
         offset += kRecordSize) {
        Json equalizer = Json::array();
        for (size_t band = 0; band < kBands; ++band) {
            equalizer.push_back({{"gain", jsonOf(floatAt(content, offset + 16 + 4 * band))}});
        }
        const std::string name(content.data() + offset, strnlen(content.data() + offset, 4));
        data.push_back({{"channel", name},
                        {"equalizer", equalizer},
                        {"level", jsonOf(floatAt(content, offset + 8))},
                        {"delay", jsonOf(floatAt(content, offset + 12))}});
    }
    return data;
}

}  // namespace hidlaudio::host
