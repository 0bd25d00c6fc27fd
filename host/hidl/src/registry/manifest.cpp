// SPDX-License-Identifier: Apache-2.0
#define LOG_TAG "HidlServiceManagement"

#include "manifest.h"

#include <android-base/strings.h>
#include <errno.h>
#include <log/log.h>
#include <stdio.h>
#include <string.h>

#include <algorithm>
#include <optional>
#include <vector>

#include "host/tv_files/tv_check.h"
#include "host/tv_files/tv_root.h"
#include "host/tv_files/value_file.h"

namespace android::hardware::transport {
namespace {

/** Name of a service: package@major.minor::interface and instance. */
struct Name {
    std::string package;
    uint32_t major = 0;
    uint32_t minor = 0;
    std::string interface;
    std::string instance;
};

std::optional<Name> parseName(const std::string& interface, const std::string& instance) {
    char package[256];
    char major[10];
    char minor[10];
    char type[256];
    int end = 0;
    sscanf(interface.c_str(), "%255[A-Za-z0-9_.]@%9[0-9].%9[0-9]::%255[A-Za-z0-9_]%n", package, major, minor,
           type, &end);
    if (end == 0 || static_cast<size_t>(end) != interface.size() || type[0] != 'I') return std::nullopt;
    return Name{package, *hidlaudio::host::parseUint32(major), *hidlaudio::host::parseUint32(minor), type,
                instance};
}

/** Parses a manifest line without its comment. Returns `std::nullopt` if it is wrong. */
std::optional<Name> parseDeclaration(const std::string& text) {
    const size_t slash = text.find('/');
    if (slash == std::string::npos || text.find_first_of(" \t") != std::string::npos) return std::nullopt;
    const std::string instance = text.substr(slash + 1);
    return instance.empty() ? std::nullopt : parseName(text.substr(0, slash), instance);
}

/** Returns the names of all lines, or `std::nullopt` after logging the first wrong line. */
std::optional<std::vector<Name>> parseManifest(const std::string& path, const std::string& content) {
    std::vector<Name> names;
    size_t number = 0;
    for (const std::string& line : base::Split(content, "\n")) {
        ++number;
        const std::string text = base::Trim(line.substr(0, line.find('#')));
        if (text.empty()) continue;
        const std::optional<Name> name = parseDeclaration(text);
        if (!name) {
            ALOGE(
                "%s:%zu: \"%s\" is not a service like package@1.0::IName/default; until it is corrected, "
                "the TV declares no service",
                path.c_str(), number, text.c_str());
            return std::nullopt;
        }
        names.push_back(*name);
    }
    return names;
}

bool covers(const Name& declared, const Name& name) {
    return declared.package == name.package && declared.major == name.major && declared.minor >= name.minor &&
           declared.interface == name.interface && declared.instance == name.instance;
}

}  // namespace

Declaration declarationOf(const std::string& interface, const std::string& instance) {
    const std::string path = hidlaudio::host::tvRoot() + hidlaudio::host::kManifestFile;
    std::string content;
    const int error = hidlaudio::host::readValueFile(path, content);
    if (error == ENOENT || error == ENOTDIR) return Declaration::NoManifest;
    if (error != 0) {
        ALOGE("cannot read %s: %s; until it can be read, the TV declares no service", path.c_str(),
              strerror(error));
        return Declaration::Undeclared;
    }
    const std::optional<std::vector<Name>> manifest = parseManifest(path, content);
    const std::optional<Name> name = parseName(interface, instance);
    const bool isDeclared = manifest && name &&
                            std::any_of(manifest->begin(), manifest->end(),
                                        [&name](const Name& declared) { return covers(declared, *name); });
    return isDeclared ? Declaration::Declared : Declaration::Undeclared;
}

}  // namespace android::hardware::transport
