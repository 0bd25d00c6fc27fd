// SPDX-License-Identifier: Apache-2.0
#include <stdio.h>

#include <nlohmann/json.hpp>

#include "client/calibration/decimal.h"
#include "client/calibration/third_octaves.h"
#include "client/commands.h"
#include "client/services/calibration_service.h"
#include "client/services/service_call.h"

namespace hidlaudio::client {
namespace {

using android::hardware::hidl_vec;
using com::tovi::dtv::hardware::audio::V3_0::bandEqualizer;
using com::tovi::dtv::hardware::audio::V3_0::calibrationParameters;
using com::tovi::dtv::hardware::audio::V3_0::channelCurve;
using com::tovi::dtv::hardware::audio::V3_0::channelFrequencyRange;
using nlohmann::json;

struct IntField {
    const char* name;
    int32_t calibrationParameters::* value;
};

struct FloatField {
    const char* name;
    float calibrationParameters::* value;
};

constexpr IntField kInts[] = {
    {"intValue1", &calibrationParameters::intValue1}, {"intValue2", &calibrationParameters::intValue2},
    {"intValue3", &calibrationParameters::intValue3}, {"intValue4", &calibrationParameters::intValue4},
    {"intValue5", &calibrationParameters::intValue5}, {"intValue6", &calibrationParameters::intValue6},
    {"intValue7", &calibrationParameters::intValue7}};

constexpr FloatField kFloats[] = {{"scaledValue1", &calibrationParameters::scaledValue1},
                                  {"scaledValue2", &calibrationParameters::scaledValue2},
                                  {"scaledValue3", &calibrationParameters::scaledValue3},
                                  {"scaledValue4", &calibrationParameters::scaledValue4},
                                  {"scaledValue5", &calibrationParameters::scaledValue5},
                                  {"scaledValue6", &calibrationParameters::scaledValue6},
                                  {"scaledValue7", &calibrationParameters::scaledValue7}};

json toJson(const hidl_vec<channelFrequencyRange>& ranges) {
    json list = json::array();
    for (const channelFrequencyRange& range : ranges) {
        list.push_back({{"channel", std::string(range.channel)},
                        {"lowerFrequency", shortest(range.lowerFrequency)},
                        {"upperFrequency", shortest(range.upperFrequency)}});
    }
    return list;
}

json toJson(const hidl_vec<bandEqualizer>& bands) {
    json list = json::array();
    for (const bandEqualizer& band : bands) {
        list.push_back({{"type", std::string(band.type)},
                        {"param1", shortest(band.param1)},
                        {"param2", shortest(band.param2)},
                        {"gain", shortest(band.gain)}});
    }
    return list;
}

json toJson(const calibrationParameters& parameters) {
    json value;
    for (const IntField& field : kInts) value[field.name] = parameters.*field.value;
    for (const FloatField& field : kFloats) value[field.name] = shortest(parameters.*field.value);
    value["frequencyRanges1"] = toJson(parameters.frequencyRanges1);
    value["frequencyRanges2"] = toJson(parameters.frequencyRanges2);
    value["equalizer"] = toJson(parameters.equalizer);
    json& curves = value["channelCurves"] = json::array();
    for (const channelCurve& curve : parameters.channelCurves) {
        curves.push_back({{"channel", std::string(curve.channel)},
                          {"enabled", curve.enabled},
                          {"equalizer", toJson(curve.equalizer)}});
    }
    return value;
}

void printScalars(const calibrationParameters& parameters) {
    for (size_t i = 0; i < std::size(kInts); ++i) {
        printf("%-12s %-12d %-12s %s\n", kInts[i].name, parameters.*kInts[i].value, kFloats[i].name,
               shortText(parameters.*kFloats[i].value).c_str());
    }
}

void printRanges(const char* name, const hidl_vec<channelFrequencyRange>& ranges) {
    for (const channelFrequencyRange& range : ranges) {
        printf("%-17s %-7s %s to %s Hz\n", name, range.channel.c_str(),
               shortText(range.lowerFrequency).c_str(), shortText(range.upperFrequency).c_str());
    }
}

std::string gainText(const hidl_vec<bandEqualizer>& bands, size_t band) {
    return band < bands.size() ? shortText(bands[band].gain) : "";
}

void printBands(const calibrationParameters& parameters) {
    printf("\n%8s %11s", "Hz", "equalizer");
    for (const channelCurve& curve : parameters.channelCurves) printf(" %12s", curve.channel.c_str());
    printf("\n%20s", "");
    for (const channelCurve& curve : parameters.channelCurves)
        printf(" %12s", curve.enabled ? "used" : "not used");
    printf("\n");
    for (size_t band = 0; band < kBands; ++band) {
        printf("%8s %11s", bandLabel(band).c_str(), gainText(parameters.equalizer, band).c_str());
        for (const channelCurve& curve : parameters.channelCurves)
            printf(" %12s", gainText(curve.equalizer, band).c_str());
        printf("\n");
    }
}

int print(const Invocation& invocation, const calibrationParameters& parameters) {
    if (parameters.equalizer.size() == 0)
        note("the TV's tuning data is missing or incomplete; see the daemon's log");
    if (invocation.json) return printValue(invocation, toJson(parameters), "");
    printScalars(parameters);
    printRanges("frequencyRanges1", parameters.frequencyRanges1);
    printRanges("frequencyRanges2", parameters.frequencyRanges2);
    if (parameters.equalizer.size() != 0) printBands(parameters);
    return kDone;
}

int showParameters(const Invocation& invocation) {
    calibrationParameters parameters;
    const int status = callService(invocation, parameters, &IAcousticCalibration::getCalibrationParameters);
    return status != kDone ? status : print(invocation, parameters);
}

}  // namespace

void addCalibrationParameters(host::Command calibration, Invocation& invocation) {
    addCommand(
        calibration, invocation, "parameters", "Print the TV model's settings for a measurement",
        R"(Prints the acoustic tuning data of the TV. The tuning data and the app that measures the room define
the meaning of the numbers. Gains are in dB. With --json the value has the fields of the interface.

Example:
  audioctl calibration parameters)",
        [&invocation] { return showParameters(invocation); });
}

}  // namespace hidlaudio::client
