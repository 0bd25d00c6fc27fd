// SPDX-License-Identifier: Apache-2.0
#include "folder_contents.h"

#include <android-base/stringprintf.h>
#include <android-base/unique_fd.h>
#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <nlohmann/json.hpp>
#include <set>

namespace hidlaudio::client {
namespace {

using android::base::unique_fd;
using nlohmann::ordered_json;

constexpr size_t kMaxFileSize = 65536;

ordered_json notReadable(const std::string& path, const std::string& reason) {
    return {{"error", path + " is not readable: " + reason}};
}

bool isText(const std::string& bytes) {
    return std::all_of(bytes.begin(), bytes.end(), [](char byte) {
        return byte == '\n' || byte == '\t' || (byte >= ' ' && byte <= '~');
    });
}

ordered_json describeBytes(const std::string& bytes) {
    if (isText(bytes)) return bytes;
    std::string digits;
    for (const char byte : bytes)
        digits += android::base::StringPrintf("%02x", static_cast<unsigned char>(byte));
    return {{"hex", digits}};
}

ordered_json readFile(const std::string& path) {
    struct stat status{};
    if (lstat(path.c_str(), &status) != 0) return notReadable(path, strerror(errno));
    if (!S_ISREG(status.st_mode)) return notReadable(path, "it is not a regular file");
    const unique_fd fd(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    if (!fd.ok()) return notReadable(path, strerror(errno));
    std::string bytes(kMaxFileSize, '\0');
    size_t length = 0;
    while (length < bytes.size()) {
        const ssize_t count = TEMP_FAILURE_RETRY(read(fd.get(), &bytes[length], bytes.size() - length));
        if (count < 0) return notReadable(path, strerror(errno));
        if (count == 0) break;
        length += static_cast<size_t>(count);
    }
    bytes.resize(length);
    return describeBytes(bytes);
}

void addFolder(const std::string& folder, const std::string& prefix, ordered_json& contents) {
    const std::unique_ptr<DIR, int (*)(DIR*)> stream(opendir(folder.c_str()), closedir);
    if (stream == nullptr) {
        contents[prefix.empty() ? "." : prefix] = notReadable(folder, strerror(errno));
        return;
    }
    std::set<std::string> names;
    while (const dirent* const entry = readdir(stream.get())) names.insert(entry->d_name);
    for (const std::string& name : names) {
        if (name == "." || name == "..") continue;
        const std::string path = folder + "/" + name;
        struct stat status{};
        if (lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode)) {
            addFolder(path, prefix + name + "/", contents);
        } else {
            contents[prefix + name] = readFile(path);
        }
    }
}

}  // namespace

ordered_json readFolder(const std::string& folder) {
    ordered_json contents = ordered_json::object();
    addFolder(folder, "", contents);
    return contents;
}

}  // namespace hidlaudio::client
