// SPDX-License-Identifier: Apache-2.0
// Compares small calls of a service without instrumentation, with it, and while they are recorded.

#include <com/tovi/test/plain/1.0/IPlain.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "bench_service.h"
#include "measure.h"
#include "temporary_tv.h"

namespace {

namespace fs = std::filesystem;
using android::sp;
using android::hardware::Return;
using com::tovi::test::plain::V1_0::IPlain;
using hidlaudio::bench::BenchService;
using hidlaudio::bench::check;
using hidlaudio::bench::compare;
using hidlaudio::bench::pin;
using hidlaudio::bench::report;
using hidlaudio::bench::timed;

constexpr int kTurns = 15;
constexpr int kOperations = 4000;

struct Plain : IPlain {
    Return<int32_t> small(int32_t value) override { return value; }
};

bool registerPlain(const char* instance) {
    return sp<IPlain>(new Plain)->registerAsService(instance) == android::OK;
}

void set(const std::string& root, const std::string& property, const std::string& value) {
    std::ofstream(root + "/properties/" + property) << value << "\n";
}

/** Makes the service record its calls. The proxy, which exists, does not report them. */
void startRecord(const std::string& root, const BenchService& service) {
    fs::create_directories(root + "/properties");
    set(root, "vendor.hidlaudio.record.program", "bench_record");
    set(root, "vendor.hidlaudio.record.file", root + "/record");
    set(root, "hal.instrumentation.lib.path." + std::to_string(sizeof(void*) * 8), INSTRUMENTATION "/");
    set(root, "hal.instrumentation.enable", "true");
    check(service.proxy()->setHALInstrumentation().isOk());
    while (!fs::exists(root + "/record")) usleep(1000);
}

void measure(const std::string& root, const char* placement, int server, double wantedRecorded) {
    pin(0);
    fs::remove_all(root + "/properties");
    fs::remove(root + "/record");
    const BenchService off((std::string("off, ") + placement).c_str(), server);
    const BenchService on((std::string("on, ") + placement).c_str(), server);
    const sp<IPlain> plain = IPlain::getService(std::string("off, ") + placement);
    check(plain != nullptr);
    const auto smallOff = timed([&] { check(off.proxy()->small(1).isOk()); });
    report(std::string("instrumented / plain, ") + placement,
           compare(smallOff, timed([&] { check(plain->small(1).isOk()); }), kTurns, kOperations), 1.02);
    startRecord(root, on);
    report(std::string("recorded / instrumented, ") + placement,
           compare(timed([&] { check(on.proxy()->small(1).isOk()); }), smallOff, kTurns, kOperations),
           wantedRecorded);
}

}  // namespace

int main(int argc, char** argv) {
    hidlaudio::bench::serveIfAsked(argc, argv, registerPlain);
    const hidlaudio::bench::TemporaryTv tv;
    hidlaudio::bench::reportColumns();
    measure(tv.root(), "one core", 0, 2.0);
    // Here a call takes not much longer than a write to a file, and a record needs two of these.
    if (sysconf(_SC_NPROCESSORS_ONLN) > 1) measure(tv.root(), "a core each", 1, 3.0);
    return hidlaudio::bench::exitStatus();
}
