// SPDX-License-Identifier: Apache-2.0
#include "bench_service.h"

#include <hidl/HidlTransportSupport.h>
#include <signal.h>
#include <stdlib.h>
#include <string.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>

#include "measure.h"

namespace hidlaudio::bench {
namespace {

using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::Return;
using com::tovi::test::bench::V1_0::IBench;

class Bench : public IBench {
  public:
    Return<int32_t> small(int32_t value) override { return value; }
    Return<int32_t> strings(const hidl_string& a, const hidl_string& b, const hidl_string& c) override {
        return static_cast<int32_t>(a.size() + b.size() + c.size());
    }
    Return<int32_t> bytes(const hidl_vec<uint8_t>& data) override {
        return static_cast<int32_t>(data.size());
    }
    Return<int32_t> serveUnder(int32_t names) override {
        int32_t registered = 0;
        for (int32_t i = 0; i < names; ++i)
            registered += registerAsService("more" + std::to_string(served_++)) == android::OK ? 1 : 0;
        return registered;
    }

  private:
    int32_t served_ = 0;
};

constexpr char kServeOption[] = "--serve";

[[noreturn]] void serve(const char* instance, int readyFd, bool (*registerMore)(const char*)) {
    android::hardware::configureRpcThreadpool(1, true);
    android::sp<IBench> service = new Bench();
    bool registered = service->registerAsService(instance) == android::OK;
    if (registerMore != nullptr) registered = registerMore(instance) && registered;
    if (write(readyFd, registered ? "y" : "n", 1) != 1 || !registered) _exit(1);
    android::hardware::joinRpcThreadpool();
    _exit(1);
}

}  // namespace

void serveIfAsked(int argc, char** argv, bool (*registerMore)(const char* instance)) {
    if (argc == 4 && strcmp(argv[1], kServeOption) == 0) serve(argv[2], atoi(argv[3]), registerMore);
}

BenchService::BenchService(const char* instance, int processor) {
    int ready[2];
    if (pipe(ready) != 0) die("no pipe");
    server_ = fork();
    if (server_ == 0) {
        // Start a new program, because a forked child cannot use the runtime's state of its parent.
        const std::string fd = std::to_string(ready[1]);
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        pin(processor);
        execl("/proc/self/exe", "bench", kServeOption, instance, fd.c_str(), nullptr);
        _exit(1);
    }
    char answer = 'n';
    if (read(ready[0], &answer, 1) == 1 && answer == 'y') proxy_ = IBench::getService(instance);
    close(ready[0]);
    close(ready[1]);
    if (proxy_ == nullptr) die("the service to be measured does not run");
}

BenchService::~BenchService() {
    proxy_ = nullptr;
    kill(server_, SIGKILL);
    waitpid(server_, nullptr, 0);
}

}  // namespace hidlaudio::bench
