// SPDX-License-Identifier: Apache-2.0
#include <sys/system_properties.h>

#include "fixture.h"
#include "host/tv_files/tv_root.h"

namespace hidlaudio::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

namespace fs = std::filesystem;

class Instrumentation : public HidlTest {
  protected:
    Instrumentation() {
        for (const char* version : {"1.0", "1.1"})
            install("com.tovi.test.probe@" + std::string(version) + "-test");
        set(sizeof(void*) == 8 ? "lib.path.64" : "lib.path.32", libraries_ + "/");
        makeFile(events_);
    }
    ~Instrumentation() override {
        fs::remove_all(libraries_);
        fs::remove_all(tv_ + "/properties");
    }

    void install(const std::string& name) const {
        fs::create_directories(libraries_);
        fs::copy_file(INSTRUMENTATION_LIBRARY, libraries_ + "/" + name + ".profiler.so");
    }

    void set(const std::string& property, const std::string& value) const {
        makeFile(tv_ + "/properties/hal.instrumentation." + property, value + "\n");
    }

    /** Makes the service read the properties, and waits until it has. */
    static void configure(const sp<IProbe>& probe) {
        ASSERT_EQ(errorOf(probe->setHALInstrumentation()), "");
        ASSERT_EQ(errorOf(probe->ping()), "");
    }

    /** Returns the lines of the events since the last call, without those of IBase. */
    std::vector<std::string> takeEvents() const {
        std::istringstream text(contentOf(events_));
        makeFile(events_);
        std::vector<std::string> lines;
        for (std::string line; std::getline(text, line);) {
            if (line.find("IBase") == std::string::npos) lines.push_back(line);
        }
        return lines;
    }

    const std::string tv_ = host::tvRoot();
    const std::string libraries_ = tv_ + "/lib raries";
    const std::string events_ = tv_ + "/events";
};

TEST_F(Instrumentation, RunningServiceIsSwitchedOnAndOff) {
    const Service service;
    const sp<IProbe> probe = service.get();
    set("enable", "true");
    EXPECT_EQ(probe->add(1, 2), 3);
    EXPECT_THAT(takeEvents(), IsEmpty()) << "neither side has read the property since it was set";

    configure(probe);
    EXPECT_EQ(probe->add(3, 4), 7);
    EXPECT_THAT(takeEvents(), ElementsAre("server entry com.tovi.test.probe@1.0::IProbe.add 3 4",
                                          "server exit com.tovi.test.probe@1.0::IProbe.add 7"))
        << "the version is that of the interface that declares the method";

    const sp<IProbe> instrumented = service.get();
    EXPECT_EQ(instrumented->number(), 1U);
    EXPECT_THAT(takeEvents(), ElementsAre("client entry com.tovi.test.probe@1.1::IProbe.number",
                                          "server entry com.tovi.test.probe@1.1::IProbe.number",
                                          "server exit com.tovi.test.probe@1.1::IProbe.number 1",
                                          "client exit com.tovi.test.probe@1.1::IProbe.number 1"));

    set("enable", "false");
    configure(probe);
    EXPECT_EQ(probe->add(5, 6), 11);
    EXPECT_THAT(takeEvents(), IsEmpty());
}

TEST_F(Instrumentation, CallbackOfTheServiceIsAClientEvent) {
    const Service service;
    const sp<IProbe> probe = service.get();
    const sp<Callback> callback = new Callback;
    callback->event = [](int32_t value) { return value + 1; };
    set("enable", "true");
    configure(probe);
    EXPECT_EQ(errorOf(probe->setCallback(callback)), "");
    takeEvents();
    EXPECT_EQ(errorOf(probe->callBack(8, [](int32_t answer, int32_t) { EXPECT_EQ(answer, 9); })), "");
    EXPECT_THAT(takeEvents(), ElementsAre("server entry com.tovi.test.probe@1.0::IProbe.callBack",
                                          "client entry com.tovi.test.probe@1.0::IProbeCallback.onEvent 8",
                                          "server entry com.tovi.test.probe@1.0::IProbeCallback.onEvent 8",
                                          "server exit com.tovi.test.probe@1.0::IProbeCallback.onEvent 9",
                                          "client exit com.tovi.test.probe@1.0::IProbeCallback.onEvent 9",
                                          "server exit com.tovi.test.probe@1.0::IProbe.callBack"));
}

TEST_F(Instrumentation, UnusableLibrariesAreSkipped) {
    makeFile(libraries_ + "/com.tovi.test.probe@1.1-broken.profiler.so", "no library");
    makeFile(libraries_ + "/com.tovi.test.probe@1.1-other.so", "not loaded");
    fs::remove(libraries_ + "/com.tovi.test.probe@1.0-test.profiler.so");
    set("enable", "true");
    const Service service;
    EXPECT_EQ(service.get()->number(), 1U);
    EXPECT_EQ(takeEvents().size(), 4U);
    fs::remove_all(libraries_);
    const Service another({1, "another"});
    EXPECT_EQ(another.get()->number(), 1U);
    EXPECT_THAT(takeEvents(), IsEmpty());
}

TEST_F(Instrumentation, PropertiesAreFilesOfTheTv) {
    const std::string value(300, 'v');
    set("enable", value);
    const prop_info* property = __system_property_find("hal.instrumentation.enable");
    ASSERT_NE(property, nullptr);
    std::string read;
    __system_property_read_callback(
        property,
        [](void* cookie, const char*, const char* text, uint32_t) {
            *static_cast<std::string*>(cookie) = text;
        },
        &read);
    EXPECT_EQ(read, value);
    for (const char* name : {"hal.instrumentation.missing", "../tv.json", ""})
        EXPECT_EQ(__system_property_find(name), nullptr) << name;
}

}  // namespace
}  // namespace hidlaudio::test
