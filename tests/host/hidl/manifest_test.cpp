// SPDX-License-Identifier: Apache-2.0
#include <android/hidl/manager/1.0/IServiceManager.h>
#include <hidl/ServiceManagement.h>

#include <chrono>
#include <future>

#include "fixture.h"
#include "host/tv_files/tv_root.h"

namespace hidlaudio::test {
namespace {

using namespace std::chrono_literals;
using android::hidl::manager::V1_0::IServiceManager;
using testing::HasSubstr;

const std::string kProbe = "com.tovi.test.probe@1.1::IProbe/default";

/** Fixture of a TV with a manifest. */
class ManifestTest : public HidlTest {
  protected:
    ~ManifestTest() override { std::filesystem::remove_all(path_); }

    void declare(const std::string& lines) const { makeFile(path_, lines); }

    static bool isDeclared(const std::string& interface, const std::string& instance) {
        const IServiceManager::Transport transport =
            android::hardware::defaultServiceManager()->getTransport(interface, instance);
        return transport == IServiceManager::Transport::HWBINDER;
    }

    static status_t registerProbe() { return sp<Probe>(new Probe(1))->registerAsService("default"); }

    /** Calls getService() on another thread. */
    static std::future<sp<IProbe>> ask(const std::string& instance) {
        return std::async(std::launch::async, [=] { return IProbe::getService(instance); });
    }

    static bool isWaiting(const std::future<sp<IProbe>>& asked) {
        return asked.wait_for(50ms) == std::future_status::timeout;
    }

    const std::string path_ = host::tvRoot() + "/manifest";
};

TEST_F(ManifestTest, LineDeclaresItsVersionAndOlderMinorVersions) {
    declare("# what this TV has\n\n" + kProbe +
            "  # the newest\n\tcom.tovi.test.other@2.10::IOther/default\r\n"
            "com.tovi.test.other@2.3::IOther/second#");
    const std::tuple<const char*, const char*, bool> names[] = {
        {"com.tovi.test.probe@1.1::IProbe", "default", true},
        {"com.tovi.test.probe@1.0::IProbe", "default", true},
        {"com.tovi.test.probe@1.2::IProbe", "default", false},
        {"com.tovi.test.probe@0.1::IProbe", "default", false},
        {"com.tovi.test.probe@2.0::IProbe", "default", false},
        {"com.tovi.test.probe@1.1::IProbe", "second", false},
        {"com.tovi.test.probe@1.1::IProbeCallback", "default", false},
        {"com.tovi.test@1.1::IProbe", "default", false},
        {"com.tovi.test.other@2.9::IOther", "default", true},
        {"com.tovi.test.other@2.3::IOther", "second", true},
        {"com.tovi.test.other@2.4::IOther", "second", false},
        {"com.tovi.test.probe@1.1::IProbe/default", "", false},
        {"IProbe", "default", false},
        {"", "", false},
    };
    for (const auto& [interface, instance, expected] : names)
        EXPECT_EQ(isDeclared(interface, instance), expected) << interface << "/" << instance;
}

TEST_F(ManifestTest, WrongLineIsLoggedAndTheManifestDeclaresNothing) {
    for (const char* line :
         {"com.tovi.test.probe@1.1::IProbe", "com.tovi.test.probe@1.1::IProbe/", "@1.1::IProbe/default",
          "com.tovi.test.probe@1::IProbe/default", "com.tovi.test.probe@1.1::Probe/default",
          "com.tovi.test.probe@1.12345678901::IProbe/default", "x", "/",
          "com.tovi.test.probe@1.1::IProbe/default com.tovi.test.other@1.1::IOther/default"}) {
        SCOPED_TRACE(line);
        declare(kProbe + "\n" + line + "\n");
        testing::internal::CaptureStderr();
        EXPECT_EQ(registerProbe(), android::UNKNOWN_ERROR);
        EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr(path_ + ":2: \"" + line + "\" is not"));
        EXPECT_FALSE(isDeclared("com.tovi.test.probe@1.1::IProbe", "default"));
    }
    std::filesystem::remove(path_);
    std::filesystem::create_directory(path_);
    testing::internal::CaptureStderr();
    EXPECT_EQ(IProbe::getService(), nullptr);
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("cannot read " + path_ + ": Is a dir"));
}

TEST_F(ManifestTest, RegistrationRequiresADeclaredMostDerivedInterface) {
    declare("com.tovi.test.probe@1.0::IProbe/default\ncom.tovi.test.probe@1.1::IProbe/declared\n");
    testing::internal::CaptureStderr();
    EXPECT_EQ(registerProbe(), android::UNKNOWN_ERROR);
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                HasSubstr("Service " + kProbe + " must be in VINTF manifest in order to register/get."));
    const Service service({1, "declared"});
    EXPECT_NE(service.get(), nullptr);
    EXPECT_NE(ParentProbe::getService("declared"), nullptr);
    EXPECT_EQ(IProbe::getService("undeclared"), nullptr);
    EXPECT_EQ(IProbe::tryGetService("undeclared"), nullptr);

    // getService() does not find a registered service whose name is not declared.
    declare(kProbe);
    EXPECT_EQ(IProbe::getService("declared"), nullptr);
    const sp<IBase> registered =
        android::hardware::defaultServiceManager()->get(ParentProbe::descriptor, "declared");
    EXPECT_NE(registered, nullptr);
}

TEST_F(ManifestTest, WaitingLookUpReturnsAtOnceAfterTheRegistration) {
    testing::internal::CaptureStderr();
    constexpr size_t kRounds = 3;
    for (size_t i = 0; i < kRounds; ++i) {
        const std::string name = "late" + std::to_string(i);
        declare("com.tovi.test.probe@1.1::IProbe/" + name);
        EXPECT_EQ(IProbe::tryGetService(name), nullptr);
        std::future<sp<IProbe>> asked = ask(name);
        EXPECT_TRUE(isWaiting(asked));
        const Service service({1, name});
        EXPECT_NE(asked.get(), nullptr);
    }
    const std::string log = testing::internal::GetCapturedStderr();
    size_t seconds = 0;
    for (size_t at = 0; (at = log.find("Waited one second", at)) != std::string::npos; ++at) ++seconds;
    EXPECT_LT(seconds, kRounds) << "each look-up waited for its second to end";
}

TEST_F(ManifestTest, LookUpOfAKilledServiceWaitsIfDeclaredOrReturnsNull) {
    for (const bool hasManifest : {false, true}) {
        SCOPED_TRACE(hasManifest);
        Service busy({1, "default", 0, false});
        if (hasManifest) declare(kProbe);
        std::future<sp<IProbe>> asked = ask("default");
        EXPECT_TRUE(isWaiting(asked));
        busy.kill();
        if (hasManifest) {
            const Service next;
            EXPECT_EQ(asked.get()->number(), 1u);
        } else {
            EXPECT_EQ(asked.get(), nullptr);
        }
    }
}

// A pool that is configured for the joining thread alone gets no other thread. Its process repeats the
// look-up once a second.
TEST_F(ManifestTest, WaitingLookUpStartsAnUnconfiguredPool) {
    declare(kProbe);
    Helper unconfigured({"await", "0"});
    Helper configured({"await", "1"});
    for (Helper* helper : {&unconfigured, &configured}) EXPECT_EQ(helper->readLine(), "asking");
    // Compare the processes: a sanitizer may add a thread of its own once there are two.
    const auto hasMore = [&] { return unconfigured.threads() > configured.threads(); };
    EXPECT_TRUE(becomesTrue(hasMore));
    const Service service;
    for (Helper* helper : {&unconfigured, &configured}) EXPECT_EQ(helper->readLine(), "found");
    EXPECT_TRUE(hasMore());
}

}  // namespace
}  // namespace hidlaudio::test
