// SPDX-License-Identifier: Apache-2.0
// Compares filling a parameter buffer of the daemon with sending the same bytes over a bare stream socket
// to a process that stores as many of them.

#include <com/tovi/dtv/hardware/audio/5.1/IHeadphoneVirtualizer.h>
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "bare_socket.h"
#include "host/tv_files/tv_root.h"
#include "measure.h"

namespace {

namespace fs = std::filesystem;
using android::sp;
using android::hardware::hidl_vec;
using com::tovi::dtv::hardware::audio::V5_0::ParamType;
using com::tovi::dtv::hardware::audio::V5_1::IHeadphoneVirtualizer;
using hidlaudio::bench::BareSocket;
using hidlaudio::bench::compare;
using hidlaudio::bench::nowMicroseconds;
using hidlaudio::bench::pin;
using hidlaudio::bench::report;
using hidlaudio::bench::timed;

constexpr size_t kPiece = 256 * 1024;
constexpr size_t kHeader = 80;
constexpr size_t kAnswer = 40;
constexpr size_t kPieces = 12;  // per buffer: 3 MiB
constexpr int kTurns = 15;
constexpr int kOperations = 800;

[[noreturn]] void die(const char* why) {
    fprintf(stderr, "%s\n", why);
    exit(1);
}

/** The daemon, pinned to a processor. The destructor kills it. */
class Daemon {
  public:
    explicit Daemon(int processor) : pid_(fork()) {
        if (pid_ == 0) {
            pin(processor);
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            const int log = open("/dev/null", O_WRONLY);
            dup2(log, STDERR_FILENO);
            execl((fs::read_symlink("/proc/self/exe").parent_path() / "hidlaudio").c_str(), "hidlaudio",
                  nullptr);
            _exit(127);
        }
        while ((service_ = IHeadphoneVirtualizer::getService()) == nullptr) {
            if (waitpid(pid_, nullptr, WNOHANG) != 0) die("the daemon does not run");
            usleep(1000);
        }
    }
    ~Daemon() {
        service_ = nullptr;
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
    Daemon(const Daemon&) = delete;
    Daemon& operator=(const Daemon&) = delete;

    IHeadphoneVirtualizer& service() const { return *service_; }

  private:
    pid_t pid_;
    sp<IHeadphoneVirtualizer> service_;
};

/** Fills one buffer after the other. Measures only the calls of append(). */
class Filling {
  public:
    explicit Filling(IHeadphoneVirtualizer& service) : service_(service) {
        data_.setToExternal(memory_.data(), memory_.size());
    }

    double operator()() {
        if (filled_ == kPieces) {
            handle_ = service_.allocateParameterBuffer(ParamType::HRTF, kPieces * kPiece);
            filled_ = 0;
        }
        ++filled_;
        const double begin = nowMicroseconds();
        const int32_t result = service_.append(handle_, data_);
        const double end = nowMicroseconds();
        if (result != 0) die("append was refused");
        return end - begin;
    }

  private:
    IHeadphoneVirtualizer& service_;
    std::vector<uint8_t> memory_ = std::vector<uint8_t>(kPiece, 1);
    hidl_vec<uint8_t> data_;
    int32_t handle_ = 0;
    size_t filled_ = kPieces;
};

void measurePlacement(const char* placement, int clientProcessor, int serverProcessor) {
    pin(clientProcessor);
    const Daemon daemon(serverProcessor);
    BareSocket bare(kHeader + kPiece, kAnswer, serverProcessor, kPieces);
    Filling filling(daemon.service());
    report(std::string("append of 256 KiB / stream socket, ") + placement,
           compare([&] { return filling(); }, timed([&] { bare.exchange(); }), kTurns, kOperations), 0.7);
}

}  // namespace

int main() {
    std::string root = (fs::temp_directory_path() / "hidlaudio-bench-XXXXXX").string();
    if (mkdtemp(root.data()) == nullptr) {
        perror("mkdtemp");
        return 1;
    }
    hidlaudio::host::setTvRoot(root);
    std::ofstream(root + "/tv.json") << "";
    fs::create_directories(root + "/data/vendor/tmp");
    std::ofstream(root + "/data/vendor/tmp/dtv_svc_is_ready") << "";
    printf("%-52s %10s %10s %8s %8s\n", "", "first us", "second us", "ratio", "wanted");
    measurePlacement("one core", 0, 0);
    if (sysconf(_SC_NPROCESSORS_ONLN) > 1) measurePlacement("a core each", 0, 1);
    fs::remove_all(root);
    return 0;
}
