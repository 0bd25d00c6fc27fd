// SPDX-License-Identifier: Apache-2.0
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <signal.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <string_view>

#include "host/kernel/calls/real_calls.h"
#include "host/kernel/faults/faults.h"
#include "host/tv_files/program_lock.h"
#include "host/tv_files/regular_file.h"
#include "host/tv_files/tv_check.h"
#include "host/tv_files/tv_root.h"

/**
 * Start-up of a program of the virtual TV. It checks the TV, ensures that the program runs only once per TV,
 * and makes it exit when the TV is deleted. Compiled into each program, with the program's name in
 * HIDLAUDIO_PROGRAM.
 */
namespace hidlaudio::host {
namespace {

constexpr char kProgram[] = HIDLAUDIO_PROGRAM;
/** The program whose system calls `tv fault` can make fail. */
constexpr std::string_view kFaultableProgram = "hidlaudio";

/** The files that the signal handler checks; it must not allocate memory. */
struct Watched {
    char lock[PATH_MAX];
    char registry[PATH_MAX];
    struct stat status;
} watched;

[[noreturn]] void refuse(const std::string& reason) {
    dprintf(STDERR_FILENO, "%s: %s\n", kProgram, reason.c_str());
    _exit(2);
}

std::string problemOfTv(const std::string& root) {
    const std::string model = root + kModelFile;
    struct stat status{};
    if (lstat(model.c_str(), &status) != 0)
        return root + " is not a TV; create one with `tv init`, or set HIDLAUDIO_TV to another folder";
    return contentProblem(root);
}

void makeFolder(const std::string& path) {
    if (mkdir(path.c_str(), 0700) != 0 && errno != EEXIST) refuse(fileError(path, errno));
}

/** Locks the program on this TV. Returns the descriptor of the lock file, which must stay open. */
int lockProgram(const std::string& root) {
    const int fd = openProgramLock(kProgram);
    const int error = fd < 0 ? errno : acquireProgramLock(fd);
    if (error == EBUSY)
        refuse("already runs on " + root + " as process " + std::to_string(programLockHolder(kProgram)));
    if (error != 0) refuse(fileError(programLockFile(kProgram), error));
    return fd;
}

bool isTvThere() {
    struct stat status{};
    return stat(watched.lock, &status) == 0 && status.st_ino == watched.status.st_ino &&
           status.st_dev == watched.status.st_dev && __real_access(watched.registry, F_OK) == 0;
}

[[noreturn]] void endWithoutTv() {
    constexpr char kMessage[] = HIDLAUDIO_PROGRAM ": exits because the run/ folder of the TV was deleted\n";
    (void)!__real_write(STDERR_FILENO, kMessage, sizeof(kMessage) - 1);
    _exit(1);
}

/** Handles the signal that the kernel sends when a file in run/ is deleted or renamed. */
void onDeletion(int) {
    const int kept = errno;
    if (!isTvThere()) endWithoutTv();
    errno = kept;
}

void takeSignal() {
    struct sigaction action{};
    action.sa_handler = onDeletion;
    action.sa_flags = SA_RESTART;
    sigaction(SIGIO, &action, nullptr);
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGIO);
    sigprocmask(SIG_UNBLOCK, &signals, nullptr);
}

/**
 * Makes the kernel send SIGIO when a file in run/ is deleted or renamed. This needs no thread and no polling.
 * If the kernel does not support it, the program runs until it is shut down.
 */
void watchTv(const std::string& root, int lock) {
    snprintf(watched.lock, sizeof(watched.lock), "%s", programLockFile(kProgram).c_str());
    snprintf(watched.registry, sizeof(watched.registry), "%s", (root + kRegistryFolder).c_str());
    fstat(lock, &watched.status);
    takeSignal();
    // Left open on purpose: the kernel watches the folder while the descriptor is open.
    const int folder = open((root + kRunFolder).c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (folder >= 0) fcntl(folder, F_NOTIFY, DN_DELETE | DN_RENAME | DN_MULTISHOT);
    if (!isTvThere()) endWithoutTv();
}

}  // namespace

/** Runs after the log has started (priority 101), and before the program's own constructors. */
extern "C" __attribute__((constructor(102))) void hidlaudio_host_program_start() {
    umask(umask(0) | S_IWGRP | S_IWOTH);
    const std::string root = tvRoot();
    if (const std::string problem = problemOfTv(root); !problem.empty()) refuse(problem);
    makeFolder(root + kRunFolder);
    makeFolder(root + kRegistryFolder);
    watchTv(root, lockProgram(root));
    if (kProgram == kFaultableProgram) useStoredFaults(root);
}

}  // namespace hidlaudio::host
