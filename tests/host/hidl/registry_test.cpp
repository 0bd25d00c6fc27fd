// SPDX-License-Identifier: Apache-2.0
#include <android/hidl/manager/1.0/IServiceManager.h>
#include <android/hidl/manager/1.0/IServiceNotification.h>
#include <hidl/ServiceManagement.h>
#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <future>

#include "fixture.h"
#include "host/tv_files/tv_root.h"

namespace hidlaudio::test {
namespace {

using android::hidl::manager::V1_0::IServiceNotification;
using testing::ElementsAre;

const std::string kParent = "com.tovi.test.probe@1.0::IProbe/";
const std::string kChild = "com.tovi.test.probe@1.1::IProbe/";

class RegistryTest : public HidlTest {
  protected:
    static std::vector<std::string> listed() {
        std::vector<std::string> names;
        const auto keep = [&names](const auto& list) { names.assign(list.begin(), list.end()); };
        EXPECT_EQ(errorOf(android::hardware::defaultServiceManager()->list(keep)), "");
        return names;
    }
};

TEST_F(RegistryTest, ServiceIsFoundByEachOfItsInterfaces) {
    EXPECT_EQ(IProbe::getService(), nullptr);
    EXPECT_EQ(IProbe::tryGetService(), nullptr);
    Service service;
    for (const auto& found :
         {ParentProbe::getService(), ParentProbe::tryGetService(), sp<ParentProbe>(IProbe::getService()),
          sp<ParentProbe>(IProbe::tryGetService())}) {
        ASSERT_NE(found, nullptr);
        EXPECT_EQ(found->add(1, 2), 3);
    }
    EXPECT_EQ(ParentProbe::getService("default", true),
              nullptr);  // passthrough: no implementation can be loaded
    EXPECT_EQ(IProbe::getService("another"), nullptr);
    EXPECT_EQ(IProbeCallback::getService(), nullptr);
    EXPECT_EQ(service.get()->registerAnother("second", 2), android::OK);
    EXPECT_THAT(listed(),
                ElementsAre(kParent + "default", kParent + "second", kChild + "default", kChild + "second"));
    struct stat status{};
    EXPECT_EQ(stat((host::tvRoot() + "/run/hwbinder").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0700u);
}

TEST_F(RegistryTest, AnyTextOfAllowedLengthIsAValidName) {
    Service service;
    // A name, INTERFACE/INSTANCE, may have 255 bytes.
    const size_t longest = 255 - kChild.size();
    for (const std::string& name : {std::string("../../default"), std::string(" ~%41/ä\n\x7f"),
                                    std::string("zero\0zero", 9), std::string(longest, 'n')}) {
        SCOPED_TRACE(name);
        EXPECT_EQ(service.get()->registerAnother(name, 7), android::OK);
        const sp<IProbe> found = IProbe::getService(name);
        ASSERT_NE(found, nullptr);
        EXPECT_EQ(found->number(), 7u);
        EXPECT_THAT(listed(), testing::Contains(kChild + name));
    }
    for (const std::string& name : {std::string(), std::string(longest + 1, 'n'), std::string(longest, '/')})
        EXPECT_NE(service.get()->registerAnother(name, 7), android::OK);
    EXPECT_EQ(listed().size(), 10u);
    EXPECT_EQ(IProbe::getService()->number(), 1u);
    EXPECT_EQ(android::hardware::details::registerAsServiceInternal(nullptr, "x"), android::UNEXPECTED_NULL);
}

TEST_F(RegistryTest, NewestRegistrationWinsAndOldProxiesStillWork) {
    Service first;
    const sp<IProbe> firstProbe = first.get();
    EXPECT_EQ(firstProbe->registerAnother("default", 2), android::OK);
    const sp<IProbe> sameProcess = first.get();
    EXPECT_EQ(sameProcess->number(), 2u);
    EXPECT_FALSE(interfacesEqual(firstProbe, sameProcess));
    {
        Service second;
        const auto check = [&second](int32_t, int32_t thread) { EXPECT_EQ(thread, second.pid()); };
        EXPECT_EQ(errorOf(second.get()->whoServes(check)), "");
        EXPECT_FALSE(interfacesEqual(firstProbe, second.get()));
        EXPECT_EQ(firstProbe->number(), 1u);
        EXPECT_EQ(sameProcess->number(), 2u);
    }
    // After the end of the newest process the name is free; the older object does not get it back.
    EXPECT_EQ(first.get(), nullptr);
    EXPECT_THAT(listed(), ElementsAre());
    EXPECT_EQ(firstProbe->number(), 1u);
    Service third;
    EXPECT_EQ(third.get()->number(), 1u);
    EXPECT_THAT(listed(), ElementsAre(kParent + "default", kChild + "default"));
}

TEST_F(RegistryTest, ReplacedObjectIsReleasedAtOnce) {
    wp<Probe> previous;
    for (const uint32_t number : {1u, 2u}) {
        const sp<Probe> probe = new Probe(number);
        EXPECT_EQ(probe->registerAsService("taken"), android::OK);
        EXPECT_EQ(previous.promote(), nullptr);
        EXPECT_EQ(IProbe::getService("taken")->number(), number);
        previous = probe;
    }
}

// The object of an entry may be replaced after a client has read the entry.
TEST_F(RegistryTest, LookUpSucceedsWhileTheNameIsRegisteredAgain) {
    Service service({3});
    const sp<IProbe> probe = service.get();
    const auto lookUp = [&service] {
        for (int i = 0; i < 300; ++i) {
            const sp<IProbe> found = service.get();
            ASSERT_NE(found, nullptr);
            EXPECT_EQ(errorOf(found->number()), "");
        }
    };
    std::vector<std::future<void>> clients;
    for (int i = 0; i < 2; ++i) clients.push_back(std::async(std::launch::async, lookUp));
    const auto areDone = [&clients] {
        return std::all_of(clients.begin(), clients.end(), [](const auto& client) {
            return client.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
        });
    };
    while (!areDone()) ASSERT_EQ(probe->registerAnother("default", 2), android::OK);
}

/** Counts its notifications. The first one waits until the test opens the gate. */
class GatedNotification : public IServiceNotification {
  public:
    explicit GatedNotification(bool isOpen) {
        if (isOpen) gate.set_value();
    }
    Return<void> onRegistration(const hidl_string&, const hidl_string&, bool) override {
        ++notified;
        opened_.wait();
        return android::hardware::Void();
    }

    std::promise<void> gate;
    std::atomic<int> notified{0};

  private:
    const std::shared_future<void> opened_{gate.get_future()};
};

TEST_F(RegistryTest, LaterRequestTakesNoNotificationFromAnEarlierOne) {
    const sp<GatedNotification> busy = new GatedNotification(false);
    const sp<GatedNotification> earlier = new GatedNotification(true);
    const sp<GatedNotification> later = new GatedNotification(true);
    const auto request = [](const char* instance, const sp<GatedNotification>& callback) {
        const auto manager = android::hardware::defaultServiceManager();
        return manager->registerForNotifications(IProbe::descriptor, instance, callback).withDefault(false);
    };
    EXPECT_TRUE(request("first", busy) && request("second", earlier));
    const Service first({1, "first"});
    ASSERT_TRUE(becomesTrue([&] { return busy->notified == 1; }));
    const Service second({1, "second"});  // the only pool thread is busy
    EXPECT_TRUE(request("second", later));
    EXPECT_EQ(later->notified, 1);
    busy->gate.set_value();
    EXPECT_TRUE(becomesTrue([&] { return earlier->notified == 1; }));
    EXPECT_EQ(later->notified, 1);
}

TEST_F(RegistryTest, PathOfTheTvMayBeLongerThanASocketAddress) {
    const std::string before = host::tvRoot();
    const std::string part(60, 'd');
    host::setTvRoot(before + "/" + part + "/" + part + "/" + part);
    Service service;
    const sp<IProbe> probe = service.get();
    host::setTvRoot(before);
    ASSERT_NE(probe, nullptr);
    EXPECT_EQ(probe->add(1, 2), 3);
}

TEST_F(RegistryTest, UnusableRegistryIsReportedAsAnError) {
    const std::string before = host::tvRoot();
    const PrivateFolder tv;
    const std::string registry = tv / "run/hwbinder";
    host::setTvRoot(tv.path());
    const auto expectError = [&] {
        const auto ignore = [](const auto&) {};
        const auto manager = android::hardware::defaultServiceManager();
        EXPECT_THAT(errorOf(manager->list(ignore)), testing::HasSubstr(registry));
        EXPECT_THAT(errorOf(manager->debugDump(ignore)), testing::HasSubstr(registry));
        EXPECT_THAT(errorOf(manager->listByInterface("x", ignore)), testing::HasSubstr(registry));
    };
    EXPECT_THAT(listed(), ElementsAre()) << "a TV that was never booted has no registry";
    makeFile(registry);
    expectError();
    std::filesystem::remove(registry);
    std::filesystem::create_directory(registry);
    chmod(registry.c_str(), 0777);
    expectError();
    host::setTvRoot(before);
}

TEST_F(RegistryTest, DamagedLinesHideNoOtherName) {
    Service service;
    const std::string file = host::tvRoot() + "/run/hwbinder/services";
    const std::string good = contentOf(file);
    const size_t line = good.find(kChild + "default ");
    ASSERT_NE(line, std::string::npos) << good;
    const std::string fields = good.substr(line + kChild.size() + 8);
    for (const std::string& bad : {std::string(), std::string("x"), std::string(" 1 0\n"), "/../x" + fields,
                                   std::string(100'000, 's')}) {
        const std::string others = good.substr(0, line) + good.substr(good.find('\n', line) + 1);
        makeFile(file, others + kChild + "default" + bad);
        EXPECT_EQ(service.get(), nullptr);
        EXPECT_EQ(ParentProbe::getService()->add(1, 2), 3);
        EXPECT_EQ(ParentProbe::getService()->registerAnother("second", 2), android::OK);
        EXPECT_EQ(IProbe::getService("second")->number(), 2u)
            << "the wrong line must not reach into this one";
    }
    std::filesystem::remove(file);
    ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
    EXPECT_EQ(service.get(), nullptr) << "the look-up must not block on the FIFO";
    std::filesystem::remove(file);
    makeFile(file, good);
    EXPECT_EQ(service.get()->add(1, 2), 3);
}

}  // namespace
}  // namespace hidlaudio::test
