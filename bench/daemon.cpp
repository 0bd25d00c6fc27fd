// SPDX-License-Identifier: Apache-2.0
#include "daemon.h"

#include <com/tovi/dtv/hardware/audio/6.0/IMicControl.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <vector>

#include "measure.h"

namespace hidlaudio::bench {
namespace {

namespace fs = std::filesystem;
// The service that the daemon registers last.
using com::tovi::dtv::hardware::audio::V6_0::IMicControl;

/** Starts a program of this program's folder, without its output. Returns the process. */
pid_t start(const char* program, const std::vector<const char*>& arguments, int processor = -1) {
    const pid_t pid = fork();
    if (pid != 0) return pid;
    pin(processor);
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const int nowhere = open("/dev/null", O_WRONLY);
    dup2(nowhere, STDOUT_FILENO);
    dup2(nowhere, STDERR_FILENO);
    std::vector<char*> argv{const_cast<char*>(program)};
    for (const char* argument : arguments) argv.push_back(const_cast<char*>(argument));
    argv.push_back(nullptr);
    execv((fs::read_symlink("/proc/self/exe").parent_path() / program).c_str(), argv.data());
    _exit(127);
}

int waitFor(pid_t pid) {
    int status = -1;
    waitpid(pid, &status, 0);
    return status;
}

}  // namespace

BenchTv::BenchTv() {
    if (waitFor(start("tv", {"init", "--force"})) != 0) die("the TV cannot be created");
    std::ofstream(root() + "/bectrl/behaviour") << "rate 2000000000\n";
    fs::remove(root() + "/manifest");  // it declares the audio HAL, for which the daemon would wait
}

Daemon::Daemon(int processor) : pid_(start("hidlaudio", {}, processor)) {
    while (IMicControl::getService() == nullptr) {
        if (waitpid(pid_, nullptr, WNOHANG) != 0) die("the daemon does not run");
        usleep(1000);
    }
}

Daemon::~Daemon() {
    kill(pid_, SIGKILL);
    waitFor(pid_);
}

}  // namespace hidlaudio::bench
