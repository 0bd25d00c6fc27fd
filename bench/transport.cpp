// SPDX-License-Identifier: Apache-2.0
// Compares calls through the HIDL runtime with the same exchange over a bare stream socket.

#include <string.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "bare_socket.h"
#include "bench_service.h"
#include "measure.h"
#include "temporary_tv.h"

using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using hidlaudio::bench::BareSocket;
using hidlaudio::bench::BenchService;
using hidlaudio::bench::check;
using hidlaudio::bench::compare;
using hidlaudio::bench::exitStatus;
using hidlaudio::bench::pin;
using hidlaudio::bench::report;
using hidlaudio::bench::reportColumns;
using hidlaudio::bench::timed;
using hidlaudio::bench::Waiting;

namespace {

// Packet sizes of a call with one integer, in bytes, with the header.
constexpr size_t kSmallRequest = 88;
constexpr size_t kSmallAnswer = 48;
constexpr size_t kBulk = 256 * 1024;
constexpr int kTurns = 15;
constexpr int kSmallOperations = 4000;
constexpr int kBulkOperations = 800;

/** The wanted ratios to the bare socket. */
struct Wanted {
    double small;
    double strings;
    double bulk;
};

/** Where client and server run, and how the ends of the bare socket wait. */
struct Setup {
    const char* socket;
    Waiting waiting;
    const char* placement;
    int clientProcessor;
    int serverProcessor;
};

constexpr Setup kOneCore{"stream socket", Waiting::Sleeping, "one core", 0, 0};
constexpr Setup kTwoCores{"stream socket", Waiting::Sleeping, "a core each", 0, 1};
constexpr Setup kTwoBusyCores{"polled socket", Waiting::Polling, "a core each", 0, 1};

void measure(const Setup& setup, const Wanted& wanted) {
    pin(setup.clientProcessor);
    BenchService service(setup.placement, setup.serverProcessor);
    BareSocket bareSmall(kSmallRequest, kSmallAnswer, setup.serverProcessor, 1, setup.waiting);
    BareSocket bareBulk(kSmallRequest + kBulk, kSmallAnswer, setup.serverProcessor, 1, setup.waiting);
    const auto& proxy = service.proxy();
    const std::string other = std::string(" / ") + setup.socket + ", " + setup.placement + ", us";

    const auto bare = timed([&] { bareSmall.exchange(); });
    report("small call" + other,
           compare(timed([&] { check(proxy->small(1).isOk()); }), bare, kTurns, kSmallOperations),
           wanted.small);

    const hidl_string a("g_audio__bitstream"), b("AUDIO_DEVICE_IN_BUILTIN_MIC"), c("auto");
    report("three strings" + other,
           compare(timed([&] { check(proxy->strings(a, b, c).isOk()); }), bare, kTurns, kSmallOperations),
           wanted.strings);

    std::vector<uint8_t> memory(kBulk, 1);
    hidl_vec<uint8_t> data;
    data.setToExternal(memory.data(), memory.size());
    report("256 KiB vector" + other,
           compare(timed([&] { check(proxy->bytes(data).isOk()); }), timed([&] { bareBulk.exchange(); }),
                   kTurns, kBulkOperations),
           wanted.bulk);
}
}  // namespace

int main(int argc, char** argv) {
    hidlaudio::bench::serveIfAsked(argc, argv);
    const hidlaudio::bench::TemporaryTv tv;
    reportColumns();
    measure(kOneCore, {0.93, 0.97, 0.38});
    if (sysconf(_SC_NPROCESSORS_ONLN) > 1) {
        measure(kTwoCores, {0.25, 0.25, 0.30});
        measure(kTwoBusyCores, {0.45, 0.45, 0.40});
    }
    return exitStatus();
}
