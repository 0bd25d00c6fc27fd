// SPDX-License-Identifier: Apache-2.0
#include <hidl/HidlTransportSupport.h>

#include <map>

#include "support/events.h"
#include "support/options.h"
#include "support/services.h"

namespace tovi_audio_vts {
namespace {

using ::android::wp;
using ::android::hidl::base::V1_0::IBase;

const std::string kPackage = "com.tovi.dtv.hardware.audio@";
constexpr char kBase[] = "android.hidl.base@1.0::IBase";

/** An interface, and its versions from the newest to the oldest. */
struct Service {
    std::string name;
    std::vector<std::string> versions;
};

const Service kServices[] = {
    {"IHdmiAudio", {"3.1", "1.1", "1.0"}},
    {"IOutputEncodingStatusListener", {"3.1", "2.0"}},
    {"IOutputExternal", {"3.1", "2.0"}},
    {"IOutputSpeaker", {"6.1", "3.1", "2.0"}},
    {"IAcousticCalibration", {"5.1", "3.1", "3.0"}},
    {"ICenterSpeaker", {"4.0"}},
    {"IHeadphoneVirtualizer", {"5.1", "5.0"}},
    {"IMicControl", {"6.1", "6.0"}},
};

std::string descriptorOf(const std::string& version, const std::string& name) {
    return kPackage + version + "::" + name;
}

sp<IBase> serviceOf(const std::string& descriptor) {
    return valueOf(::android::hardware::defaultServiceManager()->get(descriptor, "default"));
}

struct Recipient : ::android::hardware::hidl_death_recipient {
    void serviceDied(uint64_t cookie, const wp<IBase>&) override { cookies.add(cookie); }
    Events<uint64_t> cookies;
};

void PrintTo(const Service& service, std::ostream* out) {
    *out << service.name;
}

class Package : public ::testing::TestWithParam<Service> {
  protected:
    void SetUp() override {
        newest_ = descriptorOf(GetParam().versions[0], GetParam().name);
        service_ = serviceOf(newest_);
        ASSERT_NE(service_, nullptr) << newest_ << " is not registered";
    }

    std::string newest_;
    sp<IBase> service_;
};

TEST_P(Package, IsRegisteredInAllVersions) {
    for (const std::string& version : GetParam().versions) {
        const sp<IBase> service = serviceOf(descriptorOf(version, GetParam().name));
        ASSERT_NE(service, nullptr) << version;
        EXPECT_TRUE(::android::hardware::interfacesEqual(service, service_))
            << version << " is another object";
    }
}

TEST_P(Package, ImplementsAllVersions) {
    Names expected;
    for (const std::string& version : GetParam().versions) {
        expected.push_back(descriptorOf(version, GetParam().name));
    }
    expected.emplace_back(kBase);
    EXPECT_EQ(namesOf([&](auto callback) { return service_->interfaceChain(callback); }), expected);
    EXPECT_EQ(resultOf<hidl_string>([&](auto callback) { return service_->interfaceDescriptor(callback); }),
              newest_);
    const auto hashes = resultOf<hidl_vec<::android::hardware::hidl_array<uint8_t, 32>>>(
        [&](auto callback) { return service_->getHashChain(callback); });
    EXPECT_EQ(hashes.size(), expected.size());
}

TEST_P(Package, AnswersPing) {
    expectOk(service_->ping());
    EXPECT_TRUE(service_->isRemote()) << "the service must run in a process of its own";
}

TEST_P(Package, LinksAndUnlinksToDeath) {
    const sp<Recipient> recipient = new Recipient;
    EXPECT_TRUE(valueOf(service_->linkToDeath(recipient, 1)));
    EXPECT_TRUE(valueOf(service_->unlinkToDeath(recipient)));
    EXPECT_FALSE(valueOf(service_->unlinkToDeath(recipient)));
}

TEST_P(Package, RestartIsNoticedAndServiceComesBack) {
    SKIP_WITHOUT_RESTART();
    const sp<Recipient> linked = new Recipient;
    const sp<Recipient> unlinked = new Recipient;
    EXPECT_TRUE(valueOf(service_->linkToDeath(linked, 7)));
    EXPECT_TRUE(valueOf(service_->linkToDeath(unlinked, 8)));
    EXPECT_TRUE(valueOf(service_->unlinkToDeath(unlinked)));
    ASSERT_TRUE(runRestartCommand());
    EXPECT_EQ(linked->cookies.next(), 7u);
    EXPECT_TRUE(service_->ping().isDeadObject());
    const auto get = [](const std::string& descriptor) { return serviceOf(descriptor); };
    EXPECT_NE(awaitRestart<IBase>(get, newest_, service_), nullptr);
    EXPECT_EQ(linked->cookies.count(), 0u);
    EXPECT_EQ(unlinked->cookies.count(), 0u);
}

std::string serviceName(const ::testing::TestParamInfo<Service>& service) {
    return service.param.name;
}

INSTANTIATE_TEST_SUITE_P(Services, Package, ::testing::ValuesIn(kServices), serviceName);

}  // namespace
}  // namespace tovi_audio_vts
