// SPDX-License-Identifier: Apache-2.0
#include "registry.h"

#include <android/hidl/manager/1.0/IServiceManager.h>
#include <hidl/ServiceManagement.h>

#include <algorithm>
#include <iterator>
#include <string_view>

namespace hidlaudio::host {
namespace {

using android::hardware::hidl_vec;
using Entry = android::hidl::manager::V1_0::IServiceManager::InstanceDebugInfo;

constexpr std::string_view kInstance = "default";

struct Service {
    std::string_view program;
    std::string_view interface;
};

/** The newest version of each; the older ones are registered along with it. */
constexpr Service kServices[] = {
    {"audio_hal", "android.hardware.audio@5.0::IDevicesFactory"},
    {"hidlaudio", "com.tovi.dtv.hardware.audio@3.1::IHdmiAudio"},
    {"hidlaudio", "com.tovi.dtv.hardware.audio@3.1::IOutputEncodingStatusListener"},
    {"hidlaudio", "com.tovi.dtv.hardware.audio@3.1::IOutputExternal"},
    {"hidlaudio", "com.tovi.dtv.hardware.audio@6.1::IOutputSpeaker"},
    {"hidlaudio", "com.tovi.dtv.hardware.audio@5.1::IAcousticCalibration"},
    {"hidlaudio", "com.tovi.dtv.hardware.audio@4.0::ICenterSpeaker"},
    {"hidlaudio", "com.tovi.dtv.hardware.audio@5.1::IHeadphoneVirtualizer"},
    {"hidlaudio", "com.tovi.dtv.hardware.audio@6.1::IMicControl"},
};

bool isIn(const hidl_vec<Entry>& entries, const Service& service, pid_t pid) {
    return std::any_of(entries.begin(), entries.end(), [&](const Entry& entry) {
        return service.interface == entry.interfaceName.c_str() && kInstance == entry.instanceName.c_str() &&
               entry.pid == pid;
    });
}

}  // namespace

bool servicesRegistered(const std::string& program, pid_t pid) {
    bool registered = false;
    const auto result = android::hardware::defaultServiceManager()->debugDump([&](const auto& entries) {
        registered = std::all_of(std::begin(kServices), std::end(kServices), [&](const Service& service) {
            return service.program != program || isIn(entries, service, pid);
        });
    });
    return result.isOk() && registered;
}

}  // namespace hidlaudio::host
