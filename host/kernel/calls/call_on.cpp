// SPDX-License-Identifier: Apache-2.0
#include <errno.h>
#include <stdio.h>
#include <unistd.h>

#include "descriptors.h"
#include "host/kernel/faults/faults.h"
#include "host/tv_files/back_end_files.h"
#include "host/tv_files/tv_root.h"

namespace hidlaudio::host {
namespace {

std::string pathOf(int fd) {
    if (kindOfDescriptor(fd) == TvDescriptor::BackEnd) return kBackEndDevice;
    char target[4096];
    const ssize_t length = readlink(("/proc/self/fd/" + std::to_string(fd)).c_str(), target, sizeof(target));
    return length > 0 ? std::string(target, static_cast<size_t>(length)) : "descriptor " + std::to_string(fd);
}

/** Formats large and negative numbers, which are ioctl requests, in hexadecimal. */
std::string textOf(long number) {
    char text[32];
    const bool isCode = number < 0 || number > 100000000;
    snprintf(text, sizeof(text), isCode ? "0x%lX" : "%ld", number);
    return text;
}

/** Returns the path as the daemon uses it. */
std::string withoutRoot(const std::string& path) {
    const std::string root = tvRoot();
    return path.compare(0, root.size() + 1, root + "/") == 0 ? path.substr(root.size()) : path;
}

}  // namespace

std::string describe(const CallOn& on) {
    const int kept = errno;
    std::string text = on.path != nullptr ? on.path : on.fd >= 0 ? withoutRoot(pathOf(on.fd)) : "";
    if (on.number != 0) text += (text.empty() ? "" : " ") + textOf(on.number);
    errno = kept;
    return text;
}

}  // namespace hidlaudio::host
