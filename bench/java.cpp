// SPDX-License-Identifier: Apache-2.0
// Compares calls from Java with the same calls from C++.

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "bench_service.h"
#include "measure.h"
#include "temporary_tv.h"

using android::hardware::hidl_vec;
using hidlaudio::bench::BenchService;
using hidlaudio::bench::compare;
using hidlaudio::bench::die;
using hidlaudio::bench::nowMicroseconds;
using hidlaudio::bench::pin;
using hidlaudio::bench::report;

namespace {

constexpr size_t kBulk = 256 * 1024;
constexpr int kTurns = 15;
constexpr int kSmallCalls = 4000;
constexpr int kBulkCalls = 300;

/** A virtual machine with BenchClient, which ends at the end of its input. */
class JavaClient {
  public:
    explicit JavaClient(const char* instance) {
        int input[2];
        int output[2];
        if (pipe(input) != 0 || pipe(output) != 0) die("no pipes");
        if (fork() == 0) {
            dup2(input[0], STDIN_FILENO);
            dup2(output[1], STDOUT_FILENO);
            for (int fd : {input[0], input[1], output[0], output[1]}) close(fd);
            execl(BENCH_JAVA, "java", "-cp", BENCH_CLASSPATH, "hidlaudio.bench.BenchClient", instance,
                  nullptr);
            _exit(1);
        }
        close(input[0]);
        close(output[1]);
        requests_ = fdopen(input[1], "w");
        answers_ = fdopen(output[0], "r");
    }
    ~JavaClient() {
        fclose(requests_);
        fclose(answers_);
    }
    JavaClient(const JavaClient&) = delete;
    JavaClient& operator=(const JavaClient&) = delete;

    /** Makes calls and returns the duration of one in microseconds. */
    double measure(const char* method, int calls) {
        double duration = 0;
        fprintf(requests_, "%s %d\n", method, calls);
        fflush(requests_);
        if (fscanf(answers_, "%lf", &duration) != 1) die("the Java client has ended");
        return duration;
    }

  private:
    FILE* requests_;
    FILE* answers_;
};

struct Row {
    const char* method;
    double wanted;
};

/** Returns the mean duration of one of several calls in microseconds. */
template <typename Call>
double meanOf(int calls, const Call& call) {
    const double start = nowMicroseconds();
    for (int i = 0; i < calls; ++i) {
        hidlaudio::bench::check(call().isOk());
    }
    return (nowMicroseconds() - start) / calls;
}

void measurePlacement(const char* placement, int clientProcessor, int serverProcessor) {
    pin(clientProcessor);
    BenchService service(placement, serverProcessor);
    JavaClient java(placement);
    const auto& proxy = service.proxy();
    (void)java.measure("small", 10 * kSmallCalls);  // until the methods are compiled

    report(std::string("small call, Java / C++, ") + placement,
           compare([&] { return java.measure("small", kSmallCalls); },
                   [&] { return meanOf(kSmallCalls, [&] { return proxy->small(1); }); }, kTurns, 1),
           1.5);

    std::vector<uint8_t> memory(kBulk, 1);
    hidl_vec<uint8_t> data;
    data.setToExternal(memory.data(), memory.size());
    const auto bulk = [&] { return meanOf(kBulkCalls, [&] { return proxy->bytes(data); }); };
    // Generated code takes a list of boxed bytes. Reading each of them takes longer than the call.
    for (const Row& row : {Row{"array", 1.3}, Row{"list", 40}}) {
        (void)java.measure(row.method, kBulkCalls);
        report("256 KiB " + std::string(row.method) + ", Java / C++, " + placement,
               compare([&] { return java.measure(row.method, kBulkCalls); }, bulk, kTurns, 1), row.wanted);
    }
}

}  // namespace

int main(int argc, char** argv) {
    hidlaudio::bench::serveIfAsked(argc, argv);
    const hidlaudio::bench::TemporaryTv tv;
    hidlaudio::bench::reportColumns();
    measurePlacement("one core", 0, 0);
    if (sysconf(_SC_NPROCESSORS_ONLN) > 1) measurePlacement("a core each", 0, 1);
    return hidlaudio::bench::exitStatus();
}
