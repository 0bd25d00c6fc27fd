// SPDX-License-Identifier: Apache-2.0
#define LOG_TAG "HidlSupport"

#include <android-base/parsebool.h>
#include <android-base/strings.h>
#include <dirent.h>
#include <dlfcn.h>
#include <errno.h>
#include <hidl/HidlSupport.h>
#include <log/log.h>
#include <string.h>

#include <algorithm>
#include <list>
#include <mutex>
#include <string_view>

#include "properties.h"

namespace android::hardware {
namespace {

using details::HidlInstrumentor;
using details::propertyValue;
using Callback = HidlInstrumentor::InstrumentationCallback;
using Callbacks = std::vector<Callback>;

constexpr char kEnableProperty[] = "hal.instrumentation.enable";
constexpr const char* kPathProperty =
    sizeof(void*) == 8 ? "hal.instrumentation.lib.path.64" : "hal.instrumentation.lib.path.32";
constexpr std::string_view kSuffix = ".profiler.so";

bool isLibraryOf(const dirent& entry, const std::string& package) {
    const std::string_view name = entry.d_name;
    return (entry.d_type == DT_REG || entry.d_type == DT_UNKNOWN) &&
           name.size() >= package.size() + kSuffix.size() && base::StartsWith(name, package) &&
           base::EndsWith(name, kSuffix);
}

/** Returns the paths of the package's libraries, sorted. */
std::vector<std::string> findLibraries(const std::string& package) {
    std::vector<std::string> paths;
    const std::string folder = propertyValue(kPathProperty);  // ends with a slash
    const std::unique_ptr<DIR, int (*)(DIR*)> directory(opendir(folder.c_str()), closedir);
    if (directory == nullptr) {
        ALOGE("%s: cannot read \"%s\": %s", kPathProperty, folder.c_str(), strerror(errno));
        return paths;
    }
    while (const dirent* entry = readdir(directory.get())) {
        if (isLibraryOf(*entry, package)) paths.push_back(folder + entry->d_name);
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

/** Returns the symbol of the function in libraries of `package`, such as "com.tovi.test.probe@1.0". */
std::string symbolOf(const std::string& package, const std::string& interface) {
    std::string symbol = "HIDL_INSTRUMENTATION_FUNCTION_";
    for (const char c : package) symbol += c == '@' ? "_V" : std::string(1, c == '.' ? '_' : c);
    return symbol + "_" + interface;
}

/** Loads the libraries, which stay loaded. */
Callbacks loadCallbacks(const std::string& package, const std::string& interface) {
    Callbacks callbacks;
    const std::string symbol = symbolOf(package, interface);
    for (const std::string& path : findLibraries(package)) {
        void* library = dlopen(path.c_str(), RTLD_NOW);
        void* function = library != nullptr ? dlsym(library, symbol.c_str()) : nullptr;
        if (function == nullptr) {
            ALOGE("cannot use %s: %s", path.c_str(), dlerror());
            continue;
        }
        callbacks.push_back(reinterpret_cast<Callback>(function));
    }
    return callbacks;
}

/** Returns an equal list that is never deleted. */
const Callbacks& keep(Callbacks callbacks) {
    static auto& mutex = *new std::mutex;
    static auto& kept = *new std::list<Callbacks>;
    const std::lock_guard<std::mutex> lock(mutex);
    const auto found = std::find(kept.begin(), kept.end(), callbacks);
    return found != kept.end() ? *found : kept.emplace_back(std::move(callbacks));
}

}  // namespace

namespace details {

HidlInstrumentor::HidlInstrumentor(const std::string& package, const std::string& interface)
    : package_(package), interface_(interface) {
    configureInstrumentation(false);
}

HidlInstrumentor::~HidlInstrumentor() = default;

const Callbacks& HidlInstrumentor::getInstrumentationCallbacks() const {
    static const auto& none = *new Callbacks;
    const Callbacks* callbacks = callbacks_.load(std::memory_order_acquire);
    return callbacks != nullptr ? *callbacks : none;
}

void HidlInstrumentor::configureInstrumentation(bool log) {
    const bool enable = base::ParseBool(propertyValue(kEnableProperty)) == base::ParseBoolResult::kTrue;
    if (enable == isInstrumentationEnabled()) return;
    callbacks_.store(enable ? &keep(loadCallbacks(package_, interface_)) : nullptr,
                     std::memory_order_release);
    if (log) ALOGI("%s::%s: instrumentation %s", package_.c_str(), interface_.c_str(), enable ? "on" : "off");
}

}  // namespace details
}  // namespace android::hardware
