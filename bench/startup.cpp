// SPDX-License-Identifier: Apache-2.0
// Compares the daemon's start, until all services are registered, and its resident memory with those of
// an empty program with the same libraries.

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/inotify.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "measure.h"
#include "temporary_tv.h"

namespace {

namespace fs = std::filesystem;

constexpr int kTurns = 15;
constexpr int kOperations = 5;
constexpr int kPatienceMs = 10'000;
// The last name that the daemon registers.
constexpr char kLastService[] = "com.tovi.dtv.hardware.audio@6.0::IMicControl/default";

fs::path gBin;
fs::path gRoot;

pid_t start(const char* program, const char* argument) {
    const pid_t pid = fork();
    if (pid != 0) return pid;
    const int log = open((gRoot / "daemon.log").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
    dup2(log, STDERR_FILENO);
    execl((gBin / program).c_str(), program, argument, nullptr);
    _exit(127);
}

void stop(pid_t pid) {
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
}

bool isRegistered(const fs::path& services) {
    std::ifstream file(services);
    const std::string text(std::istreambuf_iterator<char>(file), {});
    return text.find(kLastService) != std::string::npos;
}

// Starts a daemon in place of `*running`. Returns the time until its last service is registered, in us.
double timeDaemon(pid_t* running) {
    if (*running > 0) stop(*running);
    const fs::path registry = gRoot / "run/hwbinder";
    fs::remove_all(registry);
    fs::create_directories(registry);
    const int watch = inotify_init1(IN_CLOEXEC);
    inotify_add_watch(watch, registry.c_str(), IN_MODIFY);
    alignas(inotify_event) char events[4096];
    const double begin = hidlaudio::bench::nowMicroseconds();
    *running = start("hidlaudio", nullptr);
    pollfd readable{watch, POLLIN, 0};
    while (!isRegistered(registry / "services")) {
        if (poll(&readable, 1, kPatienceMs) > 0 && read(watch, events, sizeof(events)) > 0) continue;
        stop(*running);
        hidlaudio::bench::die(std::string("the daemon did not register ") + kLastService + "; see " +
                              (gRoot / "daemon.log").string());
    }
    const double end = hidlaudio::bench::nowMicroseconds();
    close(watch);
    return end - begin;
}

double timeEmpty() {
    int status = 0;
    const double begin = hidlaudio::bench::nowMicroseconds();
    waitpid(start("bench_empty", nullptr), &status, 0);
    if (status != 0) hidlaudio::bench::die("the empty program failed");
    return hidlaudio::bench::nowMicroseconds() - begin;
}

double residentMiB(pid_t pid) {
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    std::string word;
    while (status >> word) {
        double kib = 0;
        if (word == "VmRSS:" && status >> kib) return kib / 1024;
    }
    return 0;
}

void makeTv() {
    fs::create_directories(gRoot / "data/vendor/tmp");
    fs::create_directories(gRoot / "data/vendor/tovi/hidlaudio");
    fs::create_directories(gRoot / "soc/config");
    std::ofstream(gRoot / "tv.json") << "";
    std::ofstream(gRoot / "data/vendor/tmp/dtv_svc_is_ready") << "";
    std::ofstream(gRoot / "soc/config/g_audio__bitstream_output_mode") << "0\n";
}

}  // namespace

int main() {
    const hidlaudio::bench::TemporaryTv tv;
    gRoot = tv.root();
    gBin = fs::read_symlink("/proc/self/exe").parent_path();
    makeTv();

    pid_t running = -1;
    hidlaudio::bench::reportColumns();
    hidlaudio::bench::report(
        "start of the daemon / empty program, us",
        hidlaudio::bench::compare([&] { return timeDaemon(&running); }, timeEmpty, kTurns, kOperations), 1.3);
    const pid_t empty = start("bench_empty", "wait");
    usleep(100'000);
    const double daemonMiB = residentMiB(running);
    const double emptyMiB = residentMiB(empty);
    hidlaudio::bench::report("resident memory of the daemon / empty program, MiB",
                             {daemonMiB, emptyMiB, daemonMiB / emptyMiB}, 1.17);
    stop(running);
    stop(empty);
    return hidlaudio::bench::exitStatus();
}
