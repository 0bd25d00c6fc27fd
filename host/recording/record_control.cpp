// SPDX-License-Identifier: Apache-2.0
#include "record_control.h"

#include <android/hidl/manager/1.0/IServiceManager.h>
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <hidl/HidlTransportSupport.h>
#include <hidl/ServiceManagement.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <thread>
#include <vector>

#include "host/program/owned_descriptor.h"
#include "host/tv_files/folder_lock.h"
#include "host/tv_files/program_lock.h"
#include "host/tv_files/regular_file.h"
#include "host/tv_files/tv_check.h"
#include "host/tv_files/tv_root.h"
#include "host/tv_files/value_file.h"
#include "recorder/settings.h"

namespace hidlaudio::host {
namespace {

using android::sp;
using android::hidl::base::V1_0::IBase;

constexpr char kDaemon[] = "hidlaudio";
const std::string kPathProperty = "hal.instrumentation.lib.path." + std::to_string(sizeof(void*) * 8);

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

/** Returns the folder of the libraries that instrumented processes load: next to the HIDL runtime. */
std::string librariesFolder() {
    Dl_info info{};
    if (dladdr(reinterpret_cast<void*>(&android::hardware::joinRpcThreadpool), &info) == 0) return "";
    std::error_code ignored;
    return std::filesystem::canonical(info.dli_fname, ignored).parent_path() / "hidlaudio_recorder/";
}

std::string emptyFile(const std::string& path) {
    const OwnedDescriptor file(openRegularFile(path, O_WRONLY | O_CREAT | O_TRUNC, 0600));
    return file.get() >= 0 ? "" : fileError(path, errno);
}

std::string prepareFiles(const RecordOptions& options) {
    if (options.file.find('\n') != std::string::npos) return "the name of the record contains a newline";
    const std::string problem = emptyFile(options.file);
    if (!problem.empty() || !options.keepsBytes) return problem;
    return emptyFile(options.file + recorder::kBytesSuffix);
}

std::string setProperties(const RecordOptions& options) {
    const std::string folder = librariesFolder();
    if (access(folder.c_str(), R_OK) != 0) return fileError(folder, errno);
    const std::pair<std::string, std::string> properties[] = {
        {recorder::kFileProperty, options.file},
        {recorder::kBytesProperty, options.keepsBytes ? "true" : ""},
        {recorder::kLimitProperty, std::to_string(options.limit)},
        {kPathProperty, folder},
        {recorder::kEnableProperty, "true"},  // last: the others must be set when a process sees it
    };
    for (const auto& [name, value] : properties) {
        const std::string problem = setProperty(name, value);
        if (!problem.empty()) return problem;
    }
    return "";
}

/** Returns the daemon's objects, each of them at least once. */
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
        if (service != nullptr) services.push_back(service);
    }
    return services;
}

}  // namespace

std::string recordedFile() {
    std::string enabled;
    std::string file;
    if (readValueFile(propertyFile(recorder::kEnableProperty), enabled) != 0) return "";
    if (readValueFile(propertyFile(recorder::kFileProperty), file) != 0) return "";
    return file.substr(0, file.find('\n'));
}

std::string startRecord(const RecordOptions& options) {
    const std::string folder = tvRoot() + kPropertyFolder;
    if (mkdir(folder.c_str(), 0755) != 0 && errno != EEXIST) return fileError(folder, errno);
    const FolderLock lock(folder);
    if (lock.error() != 0) return fileError(folder, lock.error());
    const std::string recorded = recordedFile();
    if (!recorded.empty())
        return "the calls are already recorded to " + recorded + "; `tv record --stop` ends that";
    std::string problem = prepareFiles(options);
    if (problem.empty()) problem = setProperties(options);
    return problem;
}

std::string stopRecord() {
    std::string problem;
    for (const std::string& name :
         {std::string(recorder::kEnableProperty), kPathProperty, std::string(recorder::kFileProperty),
          std::string(recorder::kBytesProperty), std::string(recorder::kLimitProperty)}) {
        const std::string one = setProperty(name, "");
        if (problem.empty()) problem = one;
    }
    return problem;
}

std::string stopLeftRecord() {
    return recordedFile().empty() || programLockHolder(kRecordLock) != 0 ? "" : stopRecord();
}

std::shared_ptr<const std::atomic<bool>> configureDaemon() {
    auto isDone = std::make_shared<std::atomic<bool>>(false);
    const std::vector<sp<IBase>> services = daemonsServices();
    for (const sp<IBase>& service : services) (void)service->setHALInstrumentation().isOk();
    // On its own thread, because the daemon may be busy for a long time.
    std::thread([isDone, services] {
        // The first call can overtake the oneway call; the second one cannot.
        for (int i = 0; i < 2; ++i)
            for (const sp<IBase>& service : services) (void)service->ping().isOk();
        *isDone = true;
    }).detach();
    return isDone;
}

}  // namespace hidlaudio::host
