// SPDX-License-Identifier: Apache-2.0
#define LOG_TAG "HidlTransport"

#include "registry.h"

#include <android-base/file.h>
#include <android-base/stringprintf.h>
#include <android-base/strings.h>
#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <inttypes.h>
#include <log/log.h>
#include <stdlib.h>
#include <string.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "host/hidl/src/connection/shortage.h"
#include "host/tv_files/regular_file.h"
#include "host/tv_files/tv_check.h"
#include "host/tv_files/tv_root.h"
#include "host/tv_files/value_file.h"

namespace android::hardware::transport {
namespace {

using hidlaudio::host::fileError;
using hidlaudio::host::kRegistryFolder;
using hidlaudio::host::kRunFolder;
using hidlaudio::host::openRegularFile;
using hidlaudio::host::tvRoot;

constexpr char kSocketSuffix[] = ".sock";
constexpr char kAliveSuffix[] = ".alive";
constexpr char kLockFile[] = ".lock";
constexpr size_t kMaxFileName = 255;

bool isPlain(char c) {
    return isalnum(static_cast<unsigned char>(c)) != 0 || strchr("._@:-", c) != nullptr;
}

std::string encode(const std::string& text) {
    std::string encoded;
    for (char c : text) {
        if (c != '\0' && isPlain(c)) {
            encoded += c;
        } else {
            base::StringAppendF(&encoded, "%%%02X", static_cast<unsigned>(static_cast<unsigned char>(c)));
        }
    }
    return encoded;
}

std::string decode(const std::string& text) {
    std::string decoded;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%' && i + 2 < text.size()) {
            decoded += static_cast<char>(strtoul(text.substr(i + 1, 2).c_str(), nullptr, 16));
            i += 2;
        } else {
            decoded += text[i];
        }
    }
    return decoded;
}

std::string entryFile(const std::string& interface, const std::string& instance) {
    return encode(interface) + "~" + encode(instance);
}

std::string pathOf(const std::string& name) {
    return registryDirectory() + "/" + name;
}

int openFolder(int mode) {
    return open(registryDirectory().c_str(), mode | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
}

// Locks the registry against the writers of all processes.
base::unique_fd lockRegistry() {
    base::unique_fd lock(openRegularFile(pathOf(kLockFile), O_RDWR | O_CREAT, 0600));
    if (lock >= 0) flock(lock.get(), LOCK_EX);
    return lock;
}

bool isAlive(const std::string& socket) {
    base::unique_fd alive(openRegularFile(pathOf(socket + kAliveSuffix), O_RDONLY));
    if (alive < 0 && isShortage(errno)) {
        noteShortage("can't look whether a service lives", errno);
        return true;  // so that its files stay
    }
    return alive >= 0 && flock(alive.get(), LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}

// Makes the address of the socket `name`. An address holds at most 107 bytes; the path through an open
// descriptor of the folder is short wherever the TV lies.
bool addressOf(const std::string& name, base::unique_fd* directory, sockaddr_un* address) {
    directory->reset(openFolder(O_PATH));
    if (*directory < 0) return false;
    const std::string path = base::StringPrintf("/proc/self/fd/%d/%s", directory->get(), name.c_str());
    if (path.size() >= sizeof(address->sun_path)) return false;
    *address = {};
    address->sun_family = AF_UNIX;
    memcpy(address->sun_path, path.c_str(), path.size() + 1);
    return true;
}

bool parseEntry(const std::string& text, RegistryEntry* entry) {
    char socket[kMaxFileName + 1] = {};
    char implements[kMaxFileName + 1] = {};
    const int fields =
        sscanf(text.c_str(), "pid %d process %" SCNx64 " object %" SCNu64 " socket %255s implements %255s",
               &entry->pid, &entry->process, &entry->object, socket, implements);
    entry->socket = socket;
    entry->implements = implements;
    return fields == 5 && entry->socket.find('/') == std::string::npos &&
           base::EndsWith(entry->socket, kSocketSuffix);
}

std::string formatEntry(const RegistryEntry& entry) {
    return base::StringPrintf(
        "pid %d\nprocess %016" PRIx64 "\nobject %" PRIu64 "\nsocket %s\nimplements %s\n", entry.pid,
        entry.process, entry.object, entry.socket.c_str(), entry.implements.c_str());
}

bool readEntry(const std::string& file, RegistryEntry* entry) {
    std::string text;
    const size_t split = file.find('~');
    if (split == std::string::npos || file.front() == '.') return false;
    const int error = hidlaudio::host::readValueFile(pathOf(file), text);
    if (error == ENOENT || error == ENOTDIR) return false;
    if (isShortage(error)) {
        noteShortage("can't read the service registry", error);
        return false;
    }
    if (error != 0 || !parseEntry(text, entry)) {
        ALOGW("%s is no registry entry", pathOf(file).c_str());
        return false;
    }
    entry->interface = decode(file.substr(0, split));
    entry->instance = decode(file.substr(split + 1));
    return true;
}

std::vector<std::string> filesOf(const std::string& directory) {
    std::vector<std::string> files;
    DIR* dir = opendir(directory.c_str());
    if (dir == nullptr) {
        noteShortage("can't read the service registry", errno);
        return files;
    }
    while (const dirent* item = readdir(dir)) files.emplace_back(item->d_name);
    closedir(dir);
    std::sort(files.begin(), files.end());
    return files;
}

// Deletes the files of ended processes. The caller has locked the registry.
void sweepWithLock() {
    for (const std::string& file : filesOf(registryDirectory())) {
        RegistryEntry entry;
        const bool deadSocket = base::EndsWith(file, kSocketSuffix) && !isAlive(file);
        const bool deadEntry = readEntry(file, &entry) && !isAlive(entry.socket);
        if (deadSocket || deadEntry) unlink(pathOf(file).c_str());
        if (deadSocket) unlink(pathOf(file + kAliveSuffix).c_str());
    }
}

bool writeEntry(const RegistryEntry& entry) {
    const std::string file = entryFile(entry.interface, entry.instance);
    const std::string temporary = pathOf(".new-" + entry.socket);
    RegistryEntry previous;
    if (readEntry(file, &previous) && isAlive(previous.socket)) {
        ALOGW("%s/%s was registered by process %d already; the newest wins", entry.interface.c_str(),
              entry.instance.c_str(), previous.pid);
    }
    // The folder belongs to this user, who alone may access it, so owner and mode need not be set again.
    base::unique_fd fd(openRegularFile(temporary, O_WRONLY | O_CREAT | O_TRUNC, 0600));
    if (fd >= 0 && base::WriteStringToFd(formatEntry(entry), fd) &&
        rename(temporary.c_str(), pathOf(file).c_str()) == 0) {
        return true;
    }
    ALOGE("can't write registry entry %s: %s", pathOf(file).c_str(), strerror(errno));
    unlink(temporary.c_str());
    return false;
}

// Creates the folder; returns an error text, or an empty string. Creates and changes nothing below a
// folder that other users own or can write to.
std::string problemOfMaking() {
    const std::string root = tvRoot();
    std::error_code ignored;
    std::filesystem::create_directories(root, ignored);
    std::string problem = hidlaudio::host::rootProblem(root);
    for (const char* folder : {kRunFolder, kRegistryFolder}) {
        const std::string path = root + folder;
        if (problem.empty() && mkdir(path.c_str(), 0700) != 0 && errno != EEXIST)
            problem = fileError(path, errno);
        if (problem.empty()) problem = hidlaudio::host::folderProblem(path);
    }
    if (!problem.empty()) return problem;
    base::unique_fd directory(openFolder(O_RDONLY));
    // Only this user may access the sockets and entries.
    return directory >= 0 && fchmod(directory.get(), 0700) == 0 ? "" : fileError(registryDirectory(), errno);
}

}  // namespace

std::string registryDirectory() {
    return tvRoot() + kRegistryFolder;
}

bool makeRegistry() {
    const std::string problem = problemOfMaking();
    if (!problem.empty()) ALOGE("can't use the service registry: %s", problem.c_str());
    return problem.empty();
}

std::string registryProblem() {
    return hidlaudio::host::registryProblem(tvRoot());
}

bool registryNameFits(const std::string& interface, const std::string& instance) {
    return !instance.empty() && entryFile(interface, instance).size() <= kMaxFileName;
}

base::unique_fd registryListen(const std::string& name, base::unique_fd* alive) {
    base::unique_fd lock = lockRegistry();
    sweepWithLock();
    base::unique_fd held(openRegularFile(pathOf(name + kAliveSuffix), O_RDWR | O_CREAT, 0600));
    base::unique_fd socket(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    base::unique_fd directory;
    sockaddr_un address;
    if (held < 0 || flock(held.get(), LOCK_EX | LOCK_NB) != 0 || socket < 0 ||
        !addressOf(name, &directory, &address) ||
        bind(socket.get(), reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0 ||
        listen(socket.get(), SOMAXCONN) != 0) {
        ALOGE("can't listen on %s: %s", pathOf(name).c_str(), strerror(errno));
        return base::unique_fd();
    }
    *alive = std::move(held);
    return socket;
}

base::unique_fd registryConnect(const std::string& name) {
    base::unique_fd socket(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
    base::unique_fd directory;
    sockaddr_un address;
    if (socket < 0 || !addressOf(name, &directory, &address)) {
        noteShortage("can't connect to a service", errno);
        return base::unique_fd();
    }
    int result;
    do {
        result = connect(socket.get(), reinterpret_cast<sockaddr*>(&address), sizeof(address));
    } while (result != 0 && errno == EINTR);
    return result == 0 ? std::move(socket) : base::unique_fd();
}

bool registryAdd(const std::vector<RegistryEntry>& entries) {
    base::unique_fd lock = lockRegistry();
    if (std::all_of(entries.begin(), entries.end(), writeEntry)) return true;
    for (const RegistryEntry& entry : entries) {
        RegistryEntry present;
        const std::string file = entryFile(entry.interface, entry.instance);
        if (readEntry(file, &present) && present.process == entry.process) unlink(pathOf(file).c_str());
    }
    return false;
}

bool registryFind(const std::string& interface, const std::string& instance, RegistryEntry* entry) {
    if (!registryNameFits(interface, instance) || !readEntry(entryFile(interface, instance), entry))
        return false;
    if (isAlive(entry->socket)) return true;
    registrySweep();
    return false;
}

std::vector<RegistryEntry> registryList() {
    std::vector<RegistryEntry> entries;
    for (const std::string& file : filesOf(registryDirectory())) {
        RegistryEntry entry;
        if (readEntry(file, &entry) && isAlive(entry.socket)) entries.push_back(entry);
    }
    return entries;
}

void registrySweep() {
    base::unique_fd lock = lockRegistry();
    if (lock >= 0) sweepWithLock();
}

}  // namespace android::hardware::transport
