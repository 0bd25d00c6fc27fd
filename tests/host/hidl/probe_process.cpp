// SPDX-License-Identifier: Apache-2.0
#include <android/hidl/manager/1.0/IServiceManager.h>
#include <hidl/HidlTransportSupport.h>
#include <hidl/ServiceManagement.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <deque>
#include <random>

#include "offer.h"
#include "probe.h"

// Program of the processes that the tests start: services and clients. The first argument is the role.
namespace hidlaudio::test {
namespace {

using Arguments = std::vector<std::string>;

// Descriptor of the gate that the test may pass.
constexpr int kPassed = 3;

void say(const std::string& line) {
    const std::string text = line + "\n";
    if (write(STDOUT_FILENO, text.data(), text.size()) < 0) _exit(1);
}

[[noreturn]] void sleepForEver() {
    for (;;) pause();
}

int serve(const Arguments& arguments) {
    const auto descriptors = static_cast<rlim_t>(std::stoul(arguments.at(2)));
    const rlimit limit{descriptors, descriptors};
    if (descriptors != 0 && setrlimit(RLIMIT_NOFILE, &limit) != 0) return 1;
    android::hardware::configureRpcThreadpool(std::stoul(arguments.at(1)), true);
    sp<Probe> probe = new Probe(1);
    if (probe->registerAsService(arguments.at(0)) != android::OK) return 1;
    say("ready");
    char go;
    if (read(STDIN_FILENO, &go, 1) != 1) return 1;
    probe->log("joined");
    android::hardware::joinRpcThreadpool();
    return 1;
}

// Holds an object of the service and calls a method that waits at the passed gate.
int hold(const Arguments& arguments) {
    sp<ParentProbe> probe = ParentProbe::getService();
    const sp<IProbeCallback> held = sp<IProbeCallback>(probe->makeCallback());
    if (!probe->setCallback(new Callback()).isOk()) return 1;
    native_handle_t* gate = native_handle_create(1, 0);
    gate->data[0] = kPassed;
    return probe->wait(std::stoi(arguments.at(0)), gate).isOk() ? 0 : 1;
}

// Sets a callback that never returns. With "nested", makes the service call it.
int hang(const Arguments& arguments) {
    sp<ParentProbe> probe = ParentProbe::getService();
    sp<Callback> callback = new Callback();
    callback->event = [](int32_t) -> int32_t {
        say("called");
        sleepForEver();
    };
    if (!probe->setCallback(callback).isOk()) return 1;
    say("ready");
    if (arguments.at(0) == "nested") (void)probe->callBack(1, [](int32_t, int32_t) {}).isOk();
    sleepForEver();
}

// Gets the callback that another process has passed to the service.
int fetch(const Arguments&) {
    const Return<sp<IProbeCallback>> fetched = ParentProbe::getService()->getCallback();
    say(fetched.isOk() ? "" : fetched.description());
    return 0;
}

// Waits for a service. With "1", the pool is configured for this thread alone; otherwise not at all.
int await(const Arguments& arguments) {
    if (arguments.at(0) == "1") android::hardware::configureRpcThreadpool(1, true);
    say("asking");
    say(ParentProbe::getService() != nullptr ? "found" : "not found");
    sleepForEver();
}

// Looks up a service without calling it, then calls it and reports the errors.
int find(const Arguments&) {
    const Return<sp<IBase>> found =
        android::hardware::defaultServiceManager()->get(ParentProbe::descriptor, "default");
    const sp<IBase> service = found.isOk() ? sp<IBase>(found) : nullptr;
    if (service == nullptr) {
        say("no service: " + found.description());
        return 0;
    }
    const Return<void> called = service->ping();
    say(called.isOk() ? "" : called.description());
    return 0;
}

// Sends the given number of bytes after the test has written a byte, and reports the result.
int sendBytes(const Arguments& arguments) {
    const sp<ParentProbe> probe = ParentProbe::getService();
    const hidl_vec<uint8_t> bytes(std::stoul(arguments.at(0)));
    if (probe->add(1, 2).withDefault(0) != 3) return 1;
    say("ready");
    char go;
    if (read(STDIN_FILENO, &go, 1) != 1) return 1;
    const Return<void> sent = probe->echoBytes(bytes, [](const auto&) {});
    say(sent.isOk() ? "sent" : sent.description());
    return 0;
}

int offerDescriptors(const Arguments& arguments) {
    _exit(offer(arguments.at(0)) ? 0 : 1);
}

// Makes random calls until the process is killed.
[[noreturn]] void live(uint32_t seed) {
    std::minstd_rand random(seed);
    sp<ParentProbe> probe = ParentProbe::getService();
    if (probe == nullptr) _exit(1);
    hidl_vec<uint8_t> bytes(64 * 1024);
    const std::function<void()> actions[] = {
        [&] { (void)probe->add(1, 2).isOk(); },
        [&] { (void)probe->echoBytes(bytes, [](const auto&) {}).isOk(); },
        [&] { (void)probe->setCallback(new Callback()).isOk(); },
        [&] { (void)probe->callBack(1, [](int32_t, int32_t) {}).isOk(); },
        [&] { (void)probe->passCallbacks({new Callback(), nullptr}, [](const auto&, bool) {}).isOk(); },
        [&] { probe->note(1, nullptr).isOk(); },
        [&] { std::thread([&] { (void)probe->add(1, 2).isOk(); }).join(); },
    };
    for (;;) actions[random() % std::size(actions)]();
}

// Runs the given number of clients, three at a time. Kills each at a random moment within milliseconds.
int churn(const Arguments& arguments) {
    constexpr size_t kAtOnce = 3;
    constexpr uint32_t kLongestPause = 1'500'000;
    const int count = std::stoi(arguments.at(0));
    std::minstd_rand random(static_cast<uint32_t>(std::stoul(arguments.at(1))));
    std::deque<pid_t> alive;
    for (int i = 0; i < count || !alive.empty(); ++i) {
        const auto seed = static_cast<uint32_t>(random());
        if (i < count) alive.push_back(fork());
        if (i < count && alive.back() == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            live(seed);
        }
        const timespec while_{0, static_cast<long>(random() % kLongestPause)};
        nanosleep(&while_, nullptr);
        if (alive.size() < kAtOnce && i < count) continue;
        kill(alive.front(), SIGKILL);
        int status = 0;
        if (waitpid(alive.front(), &status, 0) != alive.front() || !WIFSIGNALED(status)) return 1;
        alive.pop_front();
    }
    return 0;
}

constexpr std::pair<const char*, int (*)(const Arguments&)> kRoles[] = {
    {"serve", serve}, {"hold", hold}, {"hang", hang},      {"fetch", fetch},
    {"await", await}, {"find", find}, {"send", sendBytes}, {"offer", offerDescriptors},
    {"churn", churn},
};

}  // namespace
}  // namespace hidlaudio::test

int main(int count, char** arguments) {
    // If the test is killed, this process ends as well.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    for (const auto& [name, run] : hidlaudio::test::kRoles)
        if (count > 1 && name == std::string(arguments[1]))
            return run(hidlaudio::test::Arguments(arguments + 2, arguments + count));
    return 2;
}
