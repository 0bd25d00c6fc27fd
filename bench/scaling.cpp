// SPDX-License-Identifier: Apache-2.0
// Compares the cost of one unit of work when there is much of it with the cost when there is little: clients,
// callbacks, registered names, sizes of uploads. The cost should not grow.

#include <android/hidl/manager/1.0/IServiceManager.h>
#include <com/tovi/dtv/hardware/audio/3.1/IHdmiAudio.h>
#include <com/tovi/dtv/hardware/audio/5.1/IHeadphoneVirtualizer.h>
#include <hidl/HidlTransportSupport.h>
#include <hidl/ServiceManagement.h>
#include <signal.h>
#include <stdlib.h>
#include <string.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <future>
#include <string>
#include <utility>
#include <vector>

#include "bench_service.h"
#include "daemon.h"
#include "measure.h"

namespace hidlaudio::bench {
namespace {

using namespace com::tovi::dtv::hardware::audio;
using android::sp;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::Return;
using android::hardware::Void;
using com::tovi::test::bench::V1_0::IBench;

constexpr char kInstance[] = "scaling";
constexpr double kCallingUs = 400'000;

/** A child process that runs a function of this program. Reads its result and kills it. */
template <typename Result>
class Child {
  public:
    explicit Child(const std::vector<std::string>& arguments) {
        int result[2];
        if (pipe(result) != 0) die("no pipe");
        pid_ = fork();
        if (pid_ == 0) {
            // A new program, because a forked child cannot use the runtime's state of its parent.
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            dup2(result[1], STDOUT_FILENO);
            std::vector<char*> argv{const_cast<char*>("bench")};
            for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
            argv.push_back(nullptr);
            execv("/proc/self/exe", argv.data());
            _exit(2);
        }
        close(result[1]);
        result_ = result[0];
    }
    ~Child() { end(); }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    Result read() {
        Result result{};
        if (::read(result_, &result, sizeof(result)) != sizeof(result)) die("a child process has failed");
        return result;
    }

    void end() {
        if (pid_ < 0) return;
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
        close(result_);
        pid_ = -1;
    }

  private:
    pid_t pid_;
    int result_;
};

template <typename Result>
void writeResult(const Result& result) {
    if (write(STDOUT_FILENO, &result, sizeof(result)) != sizeof(result)) _exit(2);
}

/** The calls of one client. */
struct Calls {
    double count;
    double slowestHundredth;  // us
};

double slowestHundredth(std::vector<double>& times) {
    const auto slow = times.begin() + static_cast<std::ptrdiff_t>(times.size() * 99 / 100);
    std::nth_element(times.begin(), slow, times.end());
    return *slow;
}

// Body of a child process: calls the service as often as it can until `end`, a time in us.
void callUntil(double end) {
    const sp<IBench> service = IBench::getService(kInstance);
    if (service == nullptr) _exit(2);
    std::vector<double> times;
    times.reserve(200'000);
    while (nowMicroseconds() < end - kCallingUs) usleep(1000);
    for (double now = nowMicroseconds(); now < end;) {
        if (!service->small(1).isOk()) _exit(2);
        const double after = nowMicroseconds();
        times.push_back(after - now);
        now = after;
    }
    writeResult(Calls{static_cast<double>(times.size()), slowestHundredth(times)});
}

std::vector<Calls> callFrom(int clients) {
    const double end = nowMicroseconds() + 100'000 + 10'000 * clients + kCallingUs;
    std::vector<std::unique_ptr<Child<Calls>>> children;
    for (int i = 0; i < clients; ++i) {
        const std::vector<std::string> arguments{"--call-until", std::to_string(end)};
        children.push_back(std::make_unique<Child<Calls>>(arguments));
    }
    std::vector<Calls> calls;
    for (const auto& child : children) calls.push_back(child->read());
    return calls;
}

double costOf(const std::vector<Calls>& all) {
    double count = 0;
    for (const Calls& calls : all) count += calls.count;
    return kCallingUs / count;
}

void measureClients() {
    const BenchService service(kInstance, -1);
    const double alone = costOf(callFrom(1));
    // A single client and the service poll for each other's messages. Of more clients than processors, each
    // call costs changes of process.
    for (const auto& [clients, wanted] : {std::pair{4, 2.5}, {16, 5}, {64, 5}}) {
        const std::vector<Calls> all = callFrom(clients);
        const double cost = costOf(all);
        const std::string who = std::to_string(clients) + " clients";
        report("a call of " + who + " / of one, us", {cost, alone, cost / alone}, wanted);
        std::vector<double> counts;
        for (const Calls& calls : all) counts.push_back(calls.count);
        const double least = *std::min_element(counts.begin(), counts.end());
        const double usual = median(counts);
        report("calls of the median of " + who + " / of the slowest", {usual, least, usual / least}, 3);
        const auto slower = [](const Calls& a, const Calls& b) {
            return a.slowestHundredth < b.slowestHundredth;
        };
        const double slow = std::max_element(all.begin(), all.end(), slower)->slowestHundredth;
        const double turn = cost * clients;  // the wait for one call of each client
        report("slowest 1% of calls, " + who + " / a call of each, us", {slow, turn, slow / turn}, 6);
    }
}

void measureNames() {
    const BenchService service(kInstance, -1);
    const auto manager = android::hardware::defaultServiceManager();
    const auto find = timed([] {
        if (IBench::tryGetService(kInstance) == nullptr) die("the service is gone");
    });
    size_t names = 0;
    const auto list = timed([&] {
        const auto count = [&names](const hidl_vec<hidl_string>& all) { names = all.size(); };
        if (!manager->list(count).isOk()) die("the registry cannot be read");
    });
    const auto medianOf = [](const TimedOperation& operation) {
        std::vector<double> times;
        for (int i = 0; i < 200; ++i) times.push_back(operation());
        return median(times);
    };
    const double findFew = medianOf(find);
    int registered = 1;
    double listFew = 0;
    for (const int many : {10, 1000}) {
        if (service.proxy()->serveUnder(many - registered) != many - registered) die("no more names");
        registered = many;
        if (many == 10) listFew = medianOf(list) / static_cast<double>(names);
    }
    const double findMany = medianOf(find);
    const double listMany = medianOf(list) / static_cast<double>(names);
    report("getService, 1000 names / 1 name, us", {findMany, findFew, findMany / findFew}, 1.5);
    report("list, each of 1000 names / of 10, us", {listMany, listFew, listMany / listFew}, 1.5);
}

class HdmiCallback : public V1_1::IHdmiAudioCallback {
    Return<void> onCapabilityChanged(const hidl_vec<hidl_string>&) override { return Void(); }
};

// Body of a child process: registers callbacks, writes the time in us, and waits.
void holdCallbacks(int count) {
    const sp<V3_1::IHdmiAudio> service = V3_1::IHdmiAudio::getService();
    if (service == nullptr) _exit(2);
    const double begin = nowMicroseconds();
    for (int i = 0; i < count; ++i) {
        if (!service->setCallback(new HdmiCallback()).isOk()) _exit(2);
    }
    writeResult(nowMicroseconds() - begin);
    pause();
}

/** The costs of a client's callbacks in us. */
struct CallbackCosts {
    double set;         // of one callback
    double told;        // of one callback
    double afterDeath;  // slowest 1% of another client's calls, while the service removes the callbacks
};

CallbackCosts costOfCallbacks(int count) {
    const Daemon daemon(-1);
    const sp<V3_1::IHdmiAudio> service = V3_1::IHdmiAudio::getService();
    Child<double> client({"--hold-callbacks", std::to_string(count)});
    CallbackCosts costs{};
    costs.set = client.read() / count;
    double begin = nowMicroseconds();
    if (!service->setAudioCapabilities({"ARC_DD_PLUS"}).isOk()) die("the daemon is gone");
    costs.told = (nowMicroseconds() - begin) / count;
    client.end();
    std::vector<double> times;
    for (const double end = nowMicroseconds() + kCallingUs; nowMicroseconds() < end;) {
        begin = nowMicroseconds();
        if (!service->getAudioCapabilities([](const auto&) {}).isOk()) die("the daemon is gone");
        times.push_back(nowMicroseconds() - begin);
    }
    costs.afterDeath = slowestHundredth(times);
    return costs;
}

void measureCallbacks() {
    const CallbackCosts few = costOfCallbacks(1000);
    const CallbackCosts many = costOfCallbacks(10'000);
    const auto row = [&](const char* what, double CallbackCosts::* cost, double wanted) {
        report(std::string(what) + ", 10000 / 1000, us", {many.*cost, few.*cost, many.*cost / few.*cost},
               wanted);
    };
    row("register one of many callbacks", &CallbackCosts::set, 1.5);
    row("call one of many callbacks", &CallbackCosts::told, 1.5);
    row("slow calls after a death with callbacks", &CallbackCosts::afterDeath, 3);
}

// Sends a request that the daemon logs in `lines` lines. Returns the time of a line in us.
double costOfLine(V3_1::IHdmiAudio& service, size_t lines) {
    std::vector<hidl_string> request(lines, "an entry of another group");
    request[0] = "ARC_DD_PLUS";
    const double begin = nowMicroseconds();
    if (service.setAudioCapabilities(request) != 0) die("the request has failed");
    return (nowMicroseconds() - begin) / static_cast<double>(lines);
}

void measureLogLines() {
    const Daemon daemon(-1);
    const sp<V3_1::IHdmiAudio> service = V3_1::IHdmiAudio::getService();
    const auto costOfLines = [&](size_t lines) {
        std::vector<double> costs;
        for (int i = 0; i < 9; ++i) costs.push_back(costOfLine(*service, lines));
        return median(costs);
    };
    const double few = costOfLines(500);
    const double many = costOfLines(5000);
    report("a log line of a call with 5000 / with 500, us", {many, few, many / few}, 1.5);
}

class Applied : public V5_0::IHeadphoneVirtualizerCallback {
  public:
    Return<void> onApplyResult(int32_t result) override {
        result_.set_value(result);
        return Void();
    }
    int32_t wait() { return result_.get_future().get(); }

  private:
    std::promise<int32_t> result_;
};

// Uploads `size` bytes. Returns the time of a KiB in us.
double uploadOf(V5_1::IHeadphoneVirtualizer& service, size_t size) {
    std::vector<uint8_t> memory(std::min<size_t>(size, 256 * 1024), 1);
    hidl_vec<uint8_t> piece;
    piece.setToExternal(memory.data(), memory.size());
    const double begin = nowMicroseconds();
    const int32_t handle = service.allocateParameterBuffer(V5_0::ParamType::HRTF, static_cast<int32_t>(size));
    for (size_t sent = 0; sent < size; sent += memory.size()) {
        if (service.append(handle, piece) != 0) die("append was refused");
    }
    const sp<Applied> applied = new Applied();
    if (service.apply(handle, applied) != 0 || applied->wait() != 0) die("the upload has failed");
    return (nowMicroseconds() - begin) / (static_cast<double>(size) / 1024);
}

void measureUploads() {
    const Daemon daemon(-1);
    const auto service = V5_1::IHeadphoneVirtualizer::getService();
    const auto costOfSize = [&](size_t size) {
        std::vector<double> costs;
        const int runs = size < size_t{1} << 30 ? 5 : 1;
        for (int i = 0; i < runs; ++i) costs.push_back(uploadOf(*service, size));
        return median(costs);
    };
    const double small = costOfSize(4 << 20);
    for (const size_t size : {size_t{64} << 20, size_t{1} << 30}) {
        const double cost = costOfSize(size);
        report("upload of " + std::to_string(size >> 20) + " MiB / of 4 MiB, us for a KiB",
               {cost, small, cost / small}, 1.5);
    }
}

void runAsChild(int argc, char** argv) {
    serveIfAsked(argc, argv);
    if (argc != 3) return;
    if (strcmp(argv[1], "--call-until") == 0) callUntil(atof(argv[2]));
    if (strcmp(argv[1], "--hold-callbacks") == 0) holdCallbacks(atoi(argv[2]));
    exit(0);
}

}  // namespace
}  // namespace hidlaudio::bench

int main(int argc, char** argv) {
    using namespace hidlaudio::bench;
    runAsChild(argc, argv);
    const BenchTv tv;
    reportColumns();
    measureClients();
    measureNames();
    measureCallbacks();
    measureLogLines();
    measureUploads();
    return exitStatus();
}
