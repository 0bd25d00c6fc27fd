// SPDX-License-Identifier: Apache-2.0
#define LOG_TAG "HidlTransport"

#include "registry_sockets.h"

#include <android-base/stringprintf.h>
#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <inttypes.h>
#include <log/log.h>
#include <stdio.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <string>

#include "host/hidl/src/connection/shortage.h"
#include "registry_folder.h"

namespace android::hardware::transport {
namespace {

std::string socketName(pid_t pid, uint64_t process) {
    return base::StringPrintf("%d-%016" PRIx64 ".sock", pid, process);
}

// Makes the address of a socket. An address holds at most 107 bytes; the path through an open descriptor
// of the folder is short wherever the TV lies.
bool addressOf(const std::string& name, base::unique_fd* folder, sockaddr_un* address) {
    folder->reset(open(registryDirectory().c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (*folder < 0) return false;
    const std::string path = base::StringPrintf("/proc/self/fd/%d/%s", folder->get(), name.c_str());
    if (path.size() >= sizeof(address->sun_path)) return false;
    *address = {};
    address->sun_family = AF_UNIX;
    memcpy(address->sun_path, path.c_str(), path.size() + 1);
    return true;
}

}  // namespace

base::unique_fd registryListen(uint64_t process) {
    const std::string name = socketName(getpid(), process);
    base::unique_fd socket(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    base::unique_fd folder;
    sockaddr_un address;
    if (socket < 0 || !addressOf(name, &folder, &address) ||
        bind(socket.get(), reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0 ||
        listen(socket.get(), SOMAXCONN) != 0) {
        ALOGE("can't listen on %s/%s: %s", registryDirectory().c_str(), name.c_str(), strerror(errno));
        return base::unique_fd();
    }
    return socket;
}

base::unique_fd registryConnect(pid_t pid, uint64_t process) {
    base::unique_fd socket(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
    base::unique_fd folder;
    sockaddr_un address;
    if (socket < 0 || !addressOf(socketName(pid, process), &folder, &address)) {
        noteShortage("can't connect to a service", errno);
        return base::unique_fd();
    }
    const bool isConnected = TEMP_FAILURE_RETRY(connect(socket.get(), reinterpret_cast<sockaddr*>(&address),
                                                        sizeof(address))) == 0;
    return isConnected ? std::move(socket) : base::unique_fd();
}

void deleteDeadSockets() {
    DIR* const folder = opendir(registryDirectory().c_str());
    if (folder == nullptr) return;
    LivingProcesses living;
    while (const dirent* item = readdir(folder)) {
        int pid = 0;
        uint64_t process = 0;
        const bool isSocket = sscanf(item->d_name, "%d-%" SCNx64, &pid, &process) == 2 &&
                              socketName(pid, process) == item->d_name;
        if (isSocket && !living.contains(process)) unlinkat(dirfd(folder), item->d_name, 0);
    }
    closedir(folder);
}

}  // namespace android::hardware::transport
