// SPDX-License-Identifier: Apache-2.0
#include <dlfcn.h>
#include <elf.h>
#include <errno.h>
#include <limits.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <vector>

/**
 * A program in the emulator hands its exec to the kernel, which starts other programs of
 * the emulated machine only where root has told it of the emulator. So they are started
 * by way of the emulator, with this library loaded before their own. What else there is,
 * shell scripts for example, is left to the kernel.
 */
namespace {

/**
 * Those that are started find this library by their arguments; what is not emulated could not
 * load it. And they go by their own names, not by the emulator's.
 */
__attribute__((constructor)) void hideEmulator() {
    unsetenv("LD_PRELOAD");
    prctl(PR_SET_NAME, program_invocation_short_name);
}

bool isEmulated(const char* path) {
    Elf32_Ehdr header{};
    std::ifstream file(path, std::ios::binary);
    file.read(reinterpret_cast<char*>(&header), sizeof header);
    return file && std::equal(header.e_ident, header.e_ident + SELFMAG, ELFMAG) && header.e_machine == EM_ARM;
}

/** The emulator and its arguments, for a program of these arguments that lies at the path. */
std::vector<const char*> emulatorCommand(const char* path, char* const arguments[]) {
    std::vector<const char*> command{EMULATOR, "-E", "LD_PRELOAD=" LIBRARY, "-0", arguments[0], path};
    for (char* const* argument = arguments + 1; *argument != nullptr; ++argument)
        command.push_back(*argument);
    command.push_back(nullptr);
    return command;
}

char* const* pointers(std::vector<const char*>& command) {
    return const_cast<char* const*>(command.data());
}

/** The function that a program would call without this library. */
template <typename Function>
Function* next(Function*, const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" int posix_spawn(pid_t* pid, const char* path, const posix_spawn_file_actions_t* actions,
                           const posix_spawnattr_t* attributes, char* const arguments[],
                           char* const environment[]) {
    static const auto spawn = next(posix_spawn, "posix_spawn");
    // The emulated call cannot tell that its exec has failed, nor does the emulator know
    // its own path for a program's.
    char real[PATH_MAX];
    if (realpath(path, real) == nullptr || access(real, X_OK) != 0) return errno;
    if (!isEmulated(real)) return spawn(pid, path, actions, attributes, arguments, environment);
    std::vector<const char*> command = emulatorCommand(real, arguments);
    return spawn(pid, EMULATOR, actions, attributes, pointers(command), environment);
}

/** How a test that may end its process makes that process. */
extern "C" int execv(const char* path, char* const arguments[]) {
    static const auto exec = next(execv, "execv");
    if (!isEmulated(path)) return exec(path, arguments);
    std::vector<const char*> command = emulatorCommand(path, arguments);
    return exec(EMULATOR, pointers(command));
}
