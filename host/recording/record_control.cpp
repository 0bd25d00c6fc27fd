// SPDX-License-Identifier: Apache-2.0
#include "record_control.h"

#include <android-base/unique_fd.h>
#include <android/hidl/manager/1.0/IServiceManager.h>
#include <errno.h>
#include <fcntl.h>
#include <hidl/ServiceManagement.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <thread>
#include <vector>

#include "host/tv_files/folder_lock.h"
#include "host/tv_files/program_lock.h"
#include "host/tv_files/regular_file.h"
#include "host/tv_files/tv_check.h"
#include "host/tv_files/tv_root.h"
#include "host/tv_files/value_file.h"
#include "recorder/settings.h"
#include "runtime_folder.h"

namespace hidlaudio::host {
namespace {

using android::sp;
using android::hardware::interfacesEqual;
using android::hidl::base::V1_0::IBase;

constexpr char kDaemon[] = "hidlaudio";
const std::string kPathProperty = "hal.instrumentation.lib.path." + std::to_string(sizeof(void*) * 8);

constexpr std::chrono::milliseconds kPollInterval{20};
/** The daemon opens the record within this time. */
constexpr std::chrono::seconds kLongestStart{5};

std::string propertyFile(const std::string& name) {
    return tvRoot() + kPropertyFolder + "/" + name;
}

/** Sets the property, or removes it if `value` is empty. Returns an error message, or "". */
std::string setProperty(const std::string& name, const std::string& value) {
    const std::string path = propertyFile(name);
    int error = 0;
    if (!value.empty()) {
        error = writeValueFile(path, value + "\n");
    } else if (unlink(path.c_str()) != 0 && errno != ENOENT) {
        error = errno;
    }
    return error == 0 ? "" : fileError(path, error);
}

std::string emptyFile(const std::string& path) {
    const android::base::unique_fd file(openRegularFile(path, O_WRONLY | O_CREAT | O_TRUNC, 0600));
    return file.get() >= 0 ? "" : fileError(path, errno);
}

std::string prepareFiles(const RecordOptions& options) {
    if (options.file.find('\n') != std::string::npos) return "the name of the record contains a newline";
    std::string problem = emptyFile(options.file);
    if (!problem.empty() || !options.keepsBytes) return problem;
    return emptyFile(options.file + recorder::kBytesSuffix);
}

std::string setProperties(const RecordOptions& options) {
    const std::string folder = runtimeFolder() / "hidlaudio_recorder/";
    if (access(folder.c_str(), R_OK) != 0) return fileError(folder, errno);
    const std::pair<std::string, std::string> properties[] = {
        {recorder::kFileProperty, options.file},
        {recorder::kBytesProperty, options.keepsBytes ? "true" : ""},
        {recorder::kLimitProperty, std::to_string(options.limit)},
        {recorder::kControllerProperty, std::to_string(getpid())},
        {kPathProperty, folder},
        {recorder::kEnableProperty, "true"},  // last: a process reads the others when it sees this one
    };
    for (const auto& [name, value] : properties) {
        const std::string problem = setProperty(name, value);
        if (!problem.empty()) return problem;
    }
    return "";
}

/** Returns an error message, or "". */
std::string removeProperties() {
    const std::string names[] = {recorder::kEnableProperty, kPathProperty,
                                 recorder::kFileProperty,   recorder::kBytesProperty,
                                 recorder::kLimitProperty,  recorder::kControllerProperty};
    std::string problem;
    for (const std::string& name : names) {
        const std::string one = setProperty(name, "");
        if (problem.empty()) problem = one;
    }
    return problem;
}

/** Returns whether this process has started the record, with `file`. */
bool isOwn(const std::string& file) {
    std::string controller;
    return recordedFile() == file &&
           readValueFile(propertyFile(recorder::kControllerProperty), controller) == 0 &&
           controller == std::to_string(getpid()) + "\n";
}

void acquire(RecordLock& lock) {
    lock.file.reset(openProgramLock(kRecordLock));
    lock.error = lock.file.ok() ? acquireProgramLock(lock.file.get()) : errno;
}

/** Returns the daemon's objects. An object has a name for each version of its interface. */
std::vector<sp<IBase>> daemonsServices() {
    std::vector<sp<IBase>> services;
    const pid_t daemon = programLockHolder(kDaemon);
    if (daemon == 0) return services;
    const auto manager = android::hardware::defaultServiceManager();
    std::vector<std::pair<std::string, std::string>> names;
    (void)manager
        ->debugDump([&](const auto& entries) {
            for (const auto& entry : entries) {
                if (entry.pid == daemon) names.emplace_back(entry.interfaceName, entry.instanceName);
            }
        })
        .isOk();
    for (const auto& [interface, instance] : names) {
        const sp<IBase> service = manager->get(interface, instance).withDefault(nullptr);
        const auto isSame = [&](const sp<IBase>& known) { return interfacesEqual(known, service); };
        if (service != nullptr && std::none_of(services.begin(), services.end(), isSame))
            services.push_back(service);
    }
    return services;
}

void pingAll(const std::vector<sp<IBase>>& services) {
    for (const sp<IBase>& service : services) (void)service->ping().isOk();
}

/** Returns whether the file exists and is empty. */
bool isEmpty(const std::string& path) {
    struct stat status{};
    return !path.empty() && stat(path.c_str(), &status) == 0 && status.st_size == 0;
}

}  // namespace

std::string recordedFile() {
    std::string enabled;
    std::string file;
    if (readValueFile(propertyFile(recorder::kEnableProperty), enabled) != 0) return "";
    if (readValueFile(propertyFile(recorder::kFileProperty), file) != 0) return "";
    return file.substr(0, file.find('\n'));
}

std::string startRecord(const RecordOptions& options, RecordLock* lock) {
    const std::string folder = tvRoot() + kPropertyFolder;
    if (mkdir(folder.c_str(), 0755) != 0 && errno != EEXIST) return fileError(folder, errno);
    const FolderLock folderLock(folder);
    if (folderLock.error() != 0) return fileError(folder, folderLock.error());
    const std::string recorded = recordedFile();
    if (!recorded.empty())
        return "the calls are already recorded to " + recorded + "; `tv record --stop` ends that";
    if (lock != nullptr) acquire(*lock);
    std::string problem = prepareFiles(options);
    if (problem.empty()) problem = setProperties(options);
    return problem;
}

std::string stopRecord() {
    const FolderLock lock(tvRoot() + kPropertyFolder);
    return removeProperties();
}

std::string stopOwnRecord(const std::string& file) {
    const FolderLock lock(tvRoot() + kPropertyFolder);
    return isOwn(file) ? removeProperties() : "";
}

std::string discardOwnRecord(const std::string& file) {
    const FolderLock lock(tvRoot() + kPropertyFolder);
    const std::string problem = isOwn(file) ? removeProperties() : "";
    // Under the lock: the next record may have the same name.
    if (recordedFile() != file) unlink(file.c_str());
    return problem;
}

std::string stopLeftRecord() {
    const FolderLock lock(tvRoot() + kPropertyFolder);
    return recordedFile().empty() || programLockHolder(kRecordLock) != 0 ? "" : removeProperties();
}

std::shared_ptr<const std::atomic<bool>> configureDaemon() {
    auto isDone = std::make_shared<std::atomic<bool>>(false);
    const std::vector<sp<IBase>> services = daemonsServices();
    for (const sp<IBase>& service : services) (void)service->setHALInstrumentation().isOk();
    // On its own thread, because the daemon may be busy for a long time.
    std::thread([isDone, services, file = recordedFile()] {
        // The first call can overtake the oneway call; the second one cannot.
        for (int i = 0; i < 2; ++i) pingAll(services);
        // The recorder reads the properties only at some of the calls.
        const auto deadline = std::chrono::steady_clock::now() + kLongestStart;
        while (!services.empty() && isEmpty(file) && std::chrono::steady_clock::now() < deadline) {
            std::this_thread::sleep_for(kPollInterval);
            pingAll(services);
        }
        *isDone = true;
    }).detach();
    return isDone;
}

}  // namespace hidlaudio::host
