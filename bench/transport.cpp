// SPDX-License-Identifier: Apache-2.0
// Compares calls through the HIDL runtime with the same exchange over a bare stream socket.

#include <stdio.h>
#include <stdlib.h>
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
using hidlaudio::bench::compare;
using hidlaudio::bench::exitStatus;
using hidlaudio::bench::pin;
using hidlaudio::bench::report;
using hidlaudio::bench::reportColumns;
using hidlaudio::bench::timed;

namespace {

// Packet sizes of a call with one integer, in bytes, with the header.
constexpr size_t kSmallRequest = 88;
constexpr size_t kSmallAnswer = 48;
constexpr size_t kBulk = 256 * 1024;
constexpr int kTurns = 15;
constexpr int kSmallOperations = 4000;
constexpr int kBulkOperations = 800;

void check(bool good) {
    if (good) return;
    fprintf(stderr, "a call failed\n");
    exit(1);
}

/** The wanted ratios to the bare socket. */
struct Wanted {
    double small;
    double strings;
    double bulk;
};

void measurePlacement(const char* placement, int clientProcessor, int serverProcessor, const Wanted& wanted) {
    pin(clientProcessor);
    BenchService service(placement, serverProcessor);
    BareSocket bareSmall(kSmallRequest, kSmallAnswer, serverProcessor);
    BareSocket bareBulk(kSmallRequest + kBulk, kSmallAnswer, serverProcessor);
    const auto& proxy = service.proxy();

    const auto bare = timed([&] { bareSmall.exchange(); });
    report(std::string("small call / stream socket, ") + placement + ", us",
           compare(timed([&] { check(proxy->small(1).isOk()); }), bare, kTurns, kSmallOperations),
           wanted.small);

    const hidl_string a("g_audio__bitstream"), b("AUDIO_DEVICE_IN_BUILTIN_MIC"), c("auto");
    report(std::string("three strings / stream socket, ") + placement + ", us",
           compare(timed([&] { check(proxy->strings(a, b, c).isOk()); }), bare, kTurns, kSmallOperations),
           wanted.strings);

    std::vector<uint8_t> memory(kBulk, 1);
    hidl_vec<uint8_t> data;
    data.setToExternal(memory.data(), memory.size());
    report(std::string("256 KiB vector / stream socket, ") + placement + ", us",
           compare(timed([&] { check(proxy->bytes(data).isOk()); }), timed([&] { bareBulk.exchange(); }),
                   kTurns, kBulkOperations),
           wanted.bulk);
}

}  // namespace

int main(int argc, char** argv) {
    hidlaudio::bench::serveIfAsked(argc, argv);
    const hidlaudio::bench::TemporaryTv tv;
    reportColumns();
    measurePlacement("one core", 0, 0, {0.93, 0.97, 0.38});
    if (sysconf(_SC_NPROCESSORS_ONLN) > 1) measurePlacement("a core each", 0, 1, {0.25, 0.27, 0.23});
    return exitStatus();
}
