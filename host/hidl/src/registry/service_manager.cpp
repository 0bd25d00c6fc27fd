// SPDX-License-Identifier: Apache-2.0
#define LOG_TAG "HidlTransport"

#include <android/hidl/base/1.0/BpHwBase.h>
#include <android/hidl/manager/1.0/IServiceManager.h>
#include <hidl/HidlTransportSupport.h>
#include <hidl/ServiceManagement.h>
#include <hwbinder/ProcessState.h>
#include <log/log.h>

#include <memory>

#include "host/hidl/src/connection/shortage.h"
#include "host/hidl/src/threads/process.h"
#include "manifest.h"
#include "notifications.h"
#include "registry.h"
#include "registry_folder.h"

namespace android::hardware {
namespace {

using hidl::base::V1_0::BnHwBase;
using hidl::base::V1_0::BpHwBase;
using hidl::base::V1_0::DebugInfo;
using hidl::base::V1_0::IBase;
using hidl::manager::V1_0::IServiceManager;
using hidl::manager::V1_0::IServiceNotification;

#if defined(__LP64__)
constexpr DebugInfo::Architecture kArchitecture = DebugInfo::Architecture::IS_64BIT;
#else
constexpr DebugInfo::Architecture kArchitecture = DebugInfo::Architecture::IS_32BIT;
#endif

// Returns the binder of a registered service, or null. Looks it up again if the registration changed
// after its entry was read.
sp<IBinder> findRegistered(const std::string& interface, const std::string& instance) {
    transport::RegistryEntry tried;
    transport::RegistryEntry entry;
    while (transport::registryFind(interface, instance, &entry)) {
        sp<IBinder> binder = transport::Process::self().find(entry);
        const bool isSame = entry.process == tried.process && entry.object == tried.object;
        if (binder != nullptr || isSame) return binder;
        tried = entry;
    }
    return nullptr;
}

// Returns the interfaces that a service implements, without IBase. Returns an empty list on an error.
std::vector<std::string> namesOf(IBase& service) {
    std::vector<std::string> names;
    const Return<void> called = service.interfaceChain([&names](const hidl_vec<hidl_string>& chain) {
        for (const hidl_string& name : chain) {
            if (name != IBase::descriptor) names.push_back(name);
        }
    });
    if (!called.isOk()) names.clear();
    return names;
}

/** Returns the shortage because of which the last look-up may have missed a service, or OK. */
Status shortage() {
    return Status::fromStatusT(transport::takeShortage());
}

/**
 * Calls `visit` with the entry of each registered service. Returns an error if the registry cannot be read,
 * or if a shortage may have hidden a service.
 */
template <typename Visit>
Status forEachService(const Visit& visit) {
    const std::string problem = transport::registryProblem();
    if (!problem.empty()) return Status::fromExceptionCode(Status::EX_ILLEGAL_STATE, problem.c_str());
    (void)transport::takeShortage();
    for (const transport::RegistryEntry& entry : transport::registryList()) visit(entry);
    return shortage();
}

/** The platform's service manager, implemented over the registry's files in each process. */
class ServiceManager : public IServiceManager {
  public:
    Return<sp<IBase>> get(const hidl_string& fqName, const hidl_string& name) override {
        (void)transport::takeShortage();
        const sp<IBinder> binder = findRegistered(fqName, name);
        if (binder == nullptr) {
            const Status status = shortage();
            if (!status.isOk()) return status;
        }
        return sp<IBase>(fromBinder<IBase, BpHwBase, BnHwBase>(binder));
    }

    Return<bool> add(const hidl_string& name, const sp<IBase>& service) override {
        if (service == nullptr) return false;
        const sp<IBinder> binder = getOrCreateCachedBinder(service.get());
        if (binder == nullptr || binder->localBinder() == nullptr) {
            ALOGE("only an object of this process can be registered");
            return false;
        }
        const std::vector<std::string> names = namesOf(*service);
        if (names.empty()) return false;
        if (transport::Process::self().registerService(binder->localBinder(), names, name) != OK)
            return false;
        ProcessState::self()->startThreadPool();
        return true;
    }

    Return<Transport> getTransport(const hidl_string& fqName, const hidl_string& name) override {
        const transport::Declaration declaration = transport::declarationOf(fqName, name);
        transport::RegistryEntry entry;
        const bool isReachable = declaration == transport::Declaration::NoManifest
                                     ? transport::registryFind(fqName, name, &entry)
                                     : declaration == transport::Declaration::Declared;
        return isReachable ? Transport::HWBINDER : Transport::EMPTY;
    }

    Return<void> list(list_cb callback) override {
        std::vector<hidl_string> names;
        const Status status = forEachService(
            [&names](const auto& entry) { names.emplace_back(entry.interface + "/" + entry.instance); });
        if (!status.isOk()) return status;
        callback(names);
        return Void();
    }

    Return<void> listByInterface(const hidl_string& fqName, listByInterface_cb callback) override {
        std::vector<hidl_string> names;
        const Status status = forEachService([&](const auto& entry) {
            if (fqName == entry.interface.c_str()) names.emplace_back(entry.instance);
        });
        if (!status.isOk()) return status;
        callback(names);
        return Void();
    }

    Return<bool> registerForNotifications(const hidl_string& fqName, const hidl_string& name,
                                          const sp<IServiceNotification>& callback) override {
        return transport::notifyOfRegistrations(fqName, name, callback);
    }

    Return<void> debugDump(debugDump_cb callback) override {
        std::vector<InstanceDebugInfo> infos;
        const Status status = forEachService([&infos](const auto& entry) {
            InstanceDebugInfo info{};
            info.interfaceName = entry.interface;
            info.instanceName = entry.instance;
            info.pid = entry.pid;
            info.arch = kArchitecture;
            infos.push_back(info);
        });
        if (!status.isOk()) return status;
        callback(infos);
        return Void();
    }

    Return<void> registerPassthroughClient(const hidl_string&, const hidl_string&) override { return Void(); }
};

}  // namespace

sp<IServiceManager> defaultServiceManager() {
    static sp<IServiceManager>* const manager = new sp<IServiceManager>(new ServiceManager());
    return *manager;
}

}  // namespace android::hardware
