// SPDX-License-Identifier: Apache-2.0
#include "known_services.h"

#include <com/tovi/dtv/hardware/audio/3.1/IHdmiAudio.h>
#include <com/tovi/dtv/hardware/audio/3.1/IOutputEncodingStatusListener.h>
#include <com/tovi/dtv/hardware/audio/3.1/IOutputExternal.h>
#include <com/tovi/dtv/hardware/audio/4.0/ICenterSpeaker.h>
#include <com/tovi/dtv/hardware/audio/5.1/IAcousticCalibration.h>
#include <com/tovi/dtv/hardware/audio/5.1/IHeadphoneVirtualizer.h>
#include <com/tovi/dtv/hardware/audio/6.1/IMicControl.h>
#include <com/tovi/dtv/hardware/audio/6.1/IOutputSpeaker.h>
#include <stdio.h>
#include <string.h>
#include <strings.h>

#include <algorithm>

namespace hidlaudio::client {
namespace {

namespace audio = com::tovi::dtv::hardware::audio;

struct KnownService {
    const char* shortName;
    const char* interface;
};

const KnownService kKnownServices[] = {
    {"hdmi", audio::V3_1::IHdmiAudio::descriptor},
    {"listener", audio::V3_1::IOutputEncodingStatusListener::descriptor},
    {"external", audio::V3_1::IOutputExternal::descriptor},
    {"speaker", audio::V6_1::IOutputSpeaker::descriptor},
    {"calibration", audio::V5_1::IAcousticCalibration::descriptor},
    {"center", audio::V4_0::ICenterSpeaker::descriptor},
    {"virtualizer", audio::V5_1::IHeadphoneVirtualizer::descriptor},
    {"mic", audio::V6_1::IMicControl::descriptor},
};

constexpr char kDefaultInstance[] = "default";

bool isFullInterfaceName(const std::string& text) {
    int end = 0;
    sscanf(text.c_str(), "%*[A-Za-z0-9_.]@%*[0-9].%*[0-9]::I%*[A-Za-z0-9_]%n", &end);
    return end > 0 && static_cast<size_t>(end) == text.size();
}

bool isShortNameOf(const KnownService& service, const std::string& text) {
    const char* bareName = strrchr(service.interface, ':') + 1;
    const char* const names[] = {service.shortName, bareName, bareName + 1};
    for (const char* name : names) {
        if (strcasecmp(text.c_str(), name) == 0) return true;
    }
    return false;
}

}  // namespace

std::string toString(const ServiceName& name) {
    return name.interface + "/" + name.instance;
}

std::vector<ServiceName> knownServices() {
    std::vector<ServiceName> names;
    for (const KnownService& service : kKnownServices) names.push_back({service.interface, kDefaultInstance});
    return names;
}

std::optional<ServiceName> parseServiceName(const std::string& text) {
    const size_t slash = text.find('/');
    const std::string interface = text.substr(0, slash);
    const std::string instance = slash == std::string::npos ? kDefaultInstance : text.substr(slash + 1);
    if (instance.empty()) return std::nullopt;
    if (isFullInterfaceName(interface)) return ServiceName{interface, instance};
    for (const KnownService& service : kKnownServices) {
        if (isShortNameOf(service, interface)) return ServiceName{service.interface, instance};
    }
    return std::nullopt;
}

std::vector<ServiceName> parseServiceNames(const std::vector<std::string>& texts) {
    std::vector<ServiceName> names;
    for (const std::string& text : texts) {
        const std::optional<ServiceName> name = parseServiceName(text);
        const auto isSame = [&name](const ServiceName& other) { return toString(other) == toString(*name); };
        if (name && std::none_of(names.begin(), names.end(), isSame)) names.push_back(*name);
    }
    return names;
}

std::string checkServiceName(const std::string& text) {
    if (parseServiceName(text)) return "";
    return "unknown service \"" + text + "\"; expected package@version::IName[/instance] or one of:\n" +
           describeKnownServices();
}

std::string describeKnownServices() {
    std::string lines;
    for (const KnownService& service : kKnownServices) {
        lines += std::string(lines.empty() ? "" : "\n") + "  " + service.shortName + "  " + service.interface;
    }
    return lines;
}

}  // namespace hidlaudio::client
