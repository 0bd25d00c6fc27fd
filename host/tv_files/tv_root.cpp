// SPDX-License-Identifier: Apache-2.0
#include "tv_root.h"

#include <pwd.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>

namespace hidlaudio::host {
namespace {

constexpr char kRootVariable[] = "HIDLAUDIO_TV";

std::string environment(const char* name) {
    const char* value = getenv(name);
    return value != nullptr ? value : "";
}

bool isAbsolute(const std::string& path) {
    return !path.empty() && path[0] == '/';
}

std::string homeDirectory() {
    std::string home = environment("HOME");
    if (!isAbsolute(home)) {
        const passwd* user = getpwuid(getuid());
        home = user != nullptr ? user->pw_dir : "/";
    }
    return home;
}

std::string absolute(const std::string& directory) {
    std::error_code ignored;
    std::string path = std::filesystem::absolute(directory, ignored).lexically_normal().string();
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    return path;
}

// The folder of the innermost ScopedTvRoot, or an empty text.
std::string& threadRoot() {
    static thread_local std::string root;
    return root;
}

}  // namespace

std::string tvRoot() {
    if (!threadRoot().empty()) return threadRoot();
    std::string root = environment(kRootVariable);
    if (!root.empty()) return absolute(root);
    std::string state = environment("XDG_STATE_HOME");
    if (!isAbsolute(state)) state = homeDirectory() + "/.local/state";
    return absolute(state + "/hidlaudio/tv");
}

void setTvRoot(const std::string& directory) {
    setenv(kRootVariable, absolute(directory).c_str(), 1);
}

ScopedTvRoot::ScopedTvRoot(const std::string& directory) : previous_(threadRoot()) {
    if (!directory.empty()) threadRoot() = directory;
}

ScopedTvRoot::~ScopedTvRoot() {
    threadRoot() = previous_;
}

}  // namespace hidlaudio::host
