// SPDX-License-Identifier: Apache-2.0
#define LOG_TAG "HidlTransport"

#include "registry.h"

#include <android-base/file.h>
#include <android-base/stringprintf.h>
#include <ctype.h>
#include <errno.h>
#include <fcntl.h>
#include <inttypes.h>
#include <log/log.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <optional>
#include <string_view>
#include <tuple>

#include "host/hidl/src/connection/shortage.h"
#include "host/tv_files/regular_file.h"
#include "host/tv_files/value_file.h"
#include "registry_folder.h"
#include "registry_sockets.h"

namespace android::hardware::transport {
namespace {

using hidlaudio::host::fileError;
using hidlaudio::host::openRegularFile;

constexpr size_t kLongestName = 255;
constexpr char kHeader[] = "# INTERFACE/INSTANCE PID PROCESS OBJECT\n";
// Some ten thousand names.
constexpr off_t kLargestFile = 4 << 20;

std::string servicesFile() {
    return registryDirectory() + "/services";
}

bool isPlain(char c) {
    return isalnum(static_cast<unsigned char>(c)) != 0 || (c != '\0' && strchr("._@:-", c) != nullptr);
}

std::string encode(const std::string& text) {
    std::string encoded;
    for (const char c : text) {
        if (isPlain(c)) {
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

std::string encodedName(const std::string& interface, const std::string& instance) {
    return encode(interface) + "/" + encode(instance);
}

std::string formatEntry(const RegistryEntry& entry) {
    return base::StringPrintf("%s %d %016" PRIx64 " %" PRIu64 "\n",
                              encodedName(entry.interface, entry.instance).c_str(), entry.pid, entry.process,
                              entry.object);
}

std::optional<RegistryEntry> parseEntry(const std::string& line) {
    char interface[kLongestName + 1] = {};
    char instance[kLongestName + 1] = {};
    RegistryEntry entry;
    const int fields = sscanf(line.c_str(), "%255[^/ ]/%255s %d %" SCNx64 " %" SCNu64, interface, instance,
                              &entry.pid, &entry.process, &entry.object);
    if (fields != 5) {
        ALOGW("%s has a wrong line: %s", servicesFile().c_str(), line.c_str());
        return std::nullopt;
    }
    entry.interface = decode(interface);
    entry.instance = decode(instance);
    return entry;
}

// Reads the registry's file. If a process was killed while it wrote, the last line may lack its end. A file
// that does not exist is empty. Returns `std::nullopt` (logged) if the file cannot be read.
std::optional<std::string> readServices() {
    const base::unique_fd file(openRegularFile(servicesFile(), O_RDONLY));
    if (file < 0 && (errno == ENOENT || errno == ENOTDIR)) return "";
    std::string text;
    struct stat status{};
    if (file >= 0 && fstat(file.get(), &status) == 0) {
        if (status.st_size > kLargestFile) errno = EFBIG;
        if (status.st_size <= kLargestFile && base::ReadFdToString(file.get(), &text)) return text;
    }
    const int error = errno;
    noteShortage("can't read the service registry", error);
    ALOGW("can't read the service registry: %s", fileError(servicesFile(), error).c_str());
    return std::nullopt;
}

// Returns the line of a name with its newline, or an empty text.
std::string_view findLine(std::string_view text, const std::string& name) {
    const size_t before = text.find("\n" + name + " ");
    if (before == std::string::npos) return {};
    const size_t end = text.find('\n', before + 1);
    return end == std::string::npos ? std::string_view() : text.substr(before + 1, end - before);
}

std::vector<RegistryEntry> parseServices(std::string_view text) {
    std::vector<RegistryEntry> entries;
    for (size_t end; (end = text.find('\n')) != std::string::npos; text.remove_prefix(end + 1)) {
        const std::string line(text.substr(0, end));
        if (line[0] == '#') continue;
        if (const auto entry = parseEntry(line)) entries.push_back(*entry);
    }
    return entries;
}

// Removes the line of the name, if there is one, and warns if its process lives.
void removeReplaced(std::string& text, const RegistryEntry& entry, LivingProcesses& living) {
    const std::string_view line = findLine(text, encodedName(entry.interface, entry.instance));
    if (line.empty()) return;
    const auto previous = parseEntry(std::string(line));
    if (previous && living.contains(previous->process)) {
        ALOGW("%s/%s was registered by process %d already; the newest wins", entry.interface.c_str(),
              entry.instance.c_str(), previous->pid);
    }
    text.erase(static_cast<size_t>(line.data() - text.data()), line.size());
}

// Writes `lines` at the end of the file, which has `size` bytes. Returns 0, or an errno with the content
// unchanged.
int append(const std::string& lines, size_t size) {
    const base::unique_fd file(openRegularFile(servicesFile(), O_WRONLY, 0600));
    if (file < 0) return errno;
    const ssize_t written =
        TEMP_FAILURE_RETRY(pwrite(file.get(), lines.data(), lines.size(), static_cast<off_t>(size)));
    if (written == static_cast<ssize_t>(lines.size())) return 0;
    const int error = written < 0 ? errno : ENOSPC;
    (void)ftruncate(file.get(), static_cast<off_t>(size));
    return error;
}

}  // namespace

bool registryNameFits(const std::string& interface, const std::string& instance) {
    return !instance.empty() && encodedName(interface, instance).size() <= kLongestName;
}

bool registryAdd(const std::vector<RegistryEntry>& entries) {
    const base::unique_fd lock = lockRegistry();
    const std::optional<std::string> present = readServices();
    if (lock < 0 || !present) return false;
    // A last line without its end is not kept.
    std::string kept = present->empty() ? kHeader : present->substr(0, present->rfind('\n') + 1);
    std::string added;
    LivingProcesses living;
    for (const RegistryEntry& entry : entries) {
        removeReplaced(kept, entry, living);
        added += formatEntry(entry);
    }
    const int error = kept == *present ? append(added, kept.size())
                                       : hidlaudio::host::writeValueFile(servicesFile(), kept + added);
    if (error != 0) ALOGE("can't write the service registry: %s", fileError(servicesFile(), error).c_str());
    return error == 0;
}

bool registryFind(const std::string& interface, const std::string& instance, RegistryEntry* entry) {
    const std::optional<std::string> text = readServices();
    if (!text) return false;
    const std::string_view line = findLine(*text, encodedName(interface, instance));
    const auto found = line.empty() ? std::nullopt : parseEntry(std::string(line));
    if (!found) return false;
    *entry = *found;
    if (LivingProcesses().contains(entry->process)) return true;
    registrySweep();
    return false;
}

std::vector<RegistryEntry> registryList() {
    std::vector<RegistryEntry> entries = parseServices(readServices().value_or(""));
    LivingProcesses living;
    const auto isDead = [&living](const RegistryEntry& entry) { return !living.contains(entry.process); };
    entries.erase(std::remove_if(entries.begin(), entries.end(), isDead), entries.end());
    std::sort(entries.begin(), entries.end(), [](const auto& a, const auto& b) {
        return std::tie(a.interface, a.instance) < std::tie(b.interface, b.instance);
    });
    return entries;
}

void registrySweep() {
    const base::unique_fd lock = lockRegistry();
    if (lock < 0) return;
    deleteDeadSockets();
    const std::string text = readServices().value_or("");
    std::string kept = kHeader;
    LivingProcesses living;
    for (const RegistryEntry& entry : parseServices(text)) {
        if (living.contains(entry.process)) kept += formatEntry(entry);
    }
    if (text.empty() || kept == text) return;
    const int error = hidlaudio::host::writeValueFile(servicesFile(), kept);
    if (error != 0) ALOGE("can't write the service registry: %s", fileError(servicesFile(), error).c_str());
}

}  // namespace android::hardware::transport
