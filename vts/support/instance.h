// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android/hidl/manager/1.0/IServiceManager.h>
#include <gtest/gtest.h>
#include <hidl/ServiceManagement.h>

#include <algorithm>
#include <ostream>
#include <string>
#include <vector>

namespace tovi_audio_vts {

using ::android::sp;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;
using ::android::hardware::Void;

/**
 * A registered service under one version of its interface: the parameter of a test. `Oldest` is the first
 * version of the interface, from which all others are derived.
 */
template <typename Oldest>
struct Instance {
    std::string version;  // as in the namespace, for example "V3_1"
    std::string name;
    sp<Oldest> (*get)(const std::string& name);
};

template <typename Oldest>
void PrintTo(const Instance<Oldest>& instance, std::ostream* out) {
    *out << instance.version << "/" << instance.name;
}

/** Returns the version of "package@1.0::IName" as "V1_0". */
inline std::string versionOf(const std::string& descriptor) {
    const size_t at = descriptor.find('@');
    std::string version = "V" + descriptor.substr(at + 1, descriptor.find("::") - at - 1);
    std::replace(version.begin(), version.end(), '.', '_');
    return version;
}

template <typename Oldest, typename Version>
void addInstances(std::vector<Instance<Oldest>>& instances) {
    const auto list = [&](const hidl_vec<hidl_string>& names) {
        for (const std::string name : names) {
            instances.push_back({versionOf(Version::descriptor), name, [](const std::string& instance) {
                                     return sp<Oldest>(Version::tryGetService(instance));
                                 }});
        }
    };
    const Return<void> listed =
        ::android::hardware::defaultServiceManager()->listByInterface(Version::descriptor, list);
    if (!listed.isOk()) ADD_FAILURE() << Version::descriptor << ": " << listed.description();
}

/** Returns all registered instances under all versions. */
template <typename Oldest, typename... Newer>
std::vector<Instance<Oldest>> instancesOf() {
    std::vector<Instance<Oldest>> instances;
    addInstances<Oldest, Oldest>(instances);
    (addInstances<Oldest, Newer>(instances), ...);
    return instances;
}

/** Returns the last part of a test's name, for example "V3_1_default". */
template <typename Parameter>
std::string nameOf(const ::testing::TestParamInfo<Parameter>& info) {
    std::string name = info.param.version + "_" + info.param.name;
    std::replace_if(name.begin(), name.end(), [](unsigned char c) { return isalnum(c) == 0; }, '_');
    return name;
}

/**
 * Declares the tests of `fixture` for all registered instances of an interface and its versions, oldest
 * first: INSTANTIATE(IName, Fixture, V1_0::IName, V1_1::IName).
 */
#define INSTANTIATE(interface, fixture, ...)                                                      \
    INSTANTIATE_TEST_SUITE_P(interface, fixture, ::testing::ValuesIn(instancesOf<__VA_ARGS__>()), \
                             nameOf<fixture::ParamType>)

}  // namespace tovi_audio_vts
