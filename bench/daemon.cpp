// SPDX-License-Identifier: Apache-2.0
#include "daemon.h"

#include <com/tovi/dtv/hardware/audio/6.0/IMicControl.h>
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "host/tv_files/tv_root.h"
#include "measure.h"

namespace hidlaudio::bench {
namespace {

namespace fs = std::filesystem;
// The service that the daemon registers last.
using com::tovi::dtv::hardware::audio::V6_0::IMicControl;

}  // namespace

void die(const std::string& message) {
    fprintf(stderr, "%s\n", message.c_str());
    exit(2);
}

BenchTv::BenchTv() : root_((fs::temp_directory_path() / "hidlaudio-bench-XXXXXX").string()) {
    if (mkdtemp(root_.data()) == nullptr) die("can't make a temporary folder");
    host::setTvRoot(root_);
    for (const char* folder :
         {"data/vendor/tmp", "data/vendor/tovi/hidlaudio", "soc/bectrl", "bectrl", "power"})
        fs::create_directories(root_ + "/" + folder);
    std::ofstream(root_ + "/tv.json") << "";
    std::ofstream(root_ + "/data/vendor/tmp/dtv_svc_is_ready") << "";
    std::ofstream(root_ + "/soc/bectrl/boot_state") << "1\n";
    std::ofstream(root_ + "/soc/eeprom.bin") << std::string(0x1001A, '\0') + '\1';
}

BenchTv::~BenchTv() {
    std::error_code ignored;
    fs::remove_all(root_, ignored);
}

Daemon::Daemon(int processor) : pid_(fork()) {
    if (pid_ == 0) {
        pin(processor);
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        const int log = open("/dev/null", O_WRONLY);
        dup2(log, STDERR_FILENO);
        execl((fs::read_symlink("/proc/self/exe").parent_path() / "hidlaudio").c_str(), "hidlaudio", nullptr);
        _exit(127);
    }
    while (IMicControl::getService() == nullptr) {
        if (waitpid(pid_, nullptr, WNOHANG) != 0) die("the daemon does not run");
        usleep(1000);
    }
}

Daemon::~Daemon() {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
}

}  // namespace hidlaudio::bench
