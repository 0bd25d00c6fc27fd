// SPDX-License-Identifier: Apache-2.0
#include <dlfcn.h>
#include <elf.h>
#include <errno.h>
#include <limits.h>
#include <spawn.h>
#include <stdlib.h>
#include <string.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

/**
 * Starts programs from a program that runs in the emulator. Exec calls of an emulated program go to the
 * kernel, which can execute programs of the emulated machine only if root has registered the emulator. So
 * this library starts such programs through the emulator, with itself preloaded. Other files, such as shell
 * scripts, are executed by the kernel.
 */
namespace {

/**
 * Removes LD_PRELOAD, which programs of the workstation's own machine could not load; emulatorCommand() sets
 * it again for emulated programs. Sets the process name to that of the program in place of the emulator's.
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

/** Returns the command line that runs the program at `path` with `arguments` in the emulator. */
std::vector<const char*> emulatorCommand(const char* path, char* const arguments[]) {
    // The library's folder is apart from its name, because LD_PRELOAD is split at spaces.
    std::vector<const char*> command{
        EMULATOR, "-E", "LD_LIBRARY_PATH=" FOLDER, "-E", "LD_PRELOAD=" NAME, "-0", arguments[0], path};
    for (char* const* argument = arguments + 1; *argument != nullptr; ++argument)
        command.push_back(*argument);
    command.push_back(nullptr);
    return command;
}

char* const* pointers(std::vector<const char*>& command) {
    return const_cast<char* const*>(command.data());
}

/** Returns the function that a program would call without this library. */
template <typename Function>
Function* next(Function*, const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" int posix_spawn(pid_t* pid, const char* path, const posix_spawn_file_actions_t* actions,
                           const posix_spawnattr_t* attributes, char* const arguments[],
                           char* const environment[]) {
    static const auto spawn = next(posix_spawn, "posix_spawn");
    // In the emulator, posix_spawn() does not report a failed exec, so errors are found here. The emulator
    // gets the real path, because /proc/self/exe would name the emulator itself.
    char real[PATH_MAX];
    if (realpath(path, real) == nullptr || access(real, X_OK) != 0) return errno;
    if (!isEmulated(real)) return spawn(pid, path, actions, attributes, arguments, environment);
    std::vector<const char*> command = emulatorCommand(real, arguments);
    return spawn(pid, EMULATOR, actions, attributes, pointers(command), environment);
}

extern "C" int posix_spawnp(pid_t* pid, const char* file, const posix_spawn_file_actions_t* actions,
                            const posix_spawnattr_t* attributes, char* const arguments[],
                            char* const environment[]) {
    const char* const variable = getenv("PATH");
    if (strchr(file, '/') != nullptr || variable == nullptr)
        return posix_spawn(pid, file, actions, attributes, arguments, environment);
    std::istringstream folders(variable);
    for (std::string folder; std::getline(folders, folder, ':');) {
        const std::string path = folder + "/" + file;
        if (access(path.c_str(), X_OK) == 0)
            return posix_spawn(pid, path.c_str(), actions, attributes, arguments, environment);
    }
    return ENOENT;
}

/** Used by GoogleTest's death tests and by runRedirected(). */
extern "C" int execv(const char* path, char* const arguments[]) {
    static const auto exec = next(execv, "execv");
    if (!isEmulated(path)) return exec(path, arguments);
    std::vector<const char*> command = emulatorCommand(path, arguments);
    return exec(EMULATOR, pointers(command));
}
