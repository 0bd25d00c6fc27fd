// SPDX-License-Identifier: Apache-2.0
#include <android/hidl/base/1.0/BpHwBase.h>
#include <hidl/HidlTransportSupport.h>
#include <hidl/ServiceManagement.h>
#include <hwbinder/ProcessState.h>

#include <memory>

#include "notifications.h"
#include "process.h"
#include "registry.h"

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

/** An error if the registry cannot be read: it must not look as if no service were registered. */
Status registryStatus() {
    const std::string problem = transport::registryProblem();
    return problem.empty() ? Status::ok()
                           : Status::fromExceptionCode(Status::EX_ILLEGAL_STATE, problem.c_str());
}

/** The registry's files as the platform's service manager. An object of each process. */
class ServiceManager : public IServiceManager {
  public:
    Return<sp<IBase>> get(const hidl_string& fqName, const hidl_string& name) override {
        return sp<IBase>(fromBinder<IBase, BpHwBase, BnHwBase>(details::findService(fqName, name)));
    }

    Return<bool> add(const hidl_string& name, const sp<IBase>& service) override {
        return details::registerAsServiceInternal(service, name) == OK;
    }

    Return<Transport> getTransport(const hidl_string& fqName, const hidl_string& name) override {
        transport::RegistryEntry entry;
        return transport::registryFind(fqName, name, &entry) ? Transport::HWBINDER : Transport::EMPTY;
    }

    Return<void> list(list_cb callback) override {
        if (const Status status = registryStatus(); !status.isOk()) return status;
        std::vector<hidl_string> names;
        for (const auto& entry : transport::registryList())
            names.emplace_back(entry.interface + "/" + entry.instance);
        callback(names);
        return Void();
    }

    Return<void> listByInterface(const hidl_string& fqName, listByInterface_cb callback) override {
        if (const Status status = registryStatus(); !status.isOk()) return status;
        std::vector<hidl_string> names;
        for (const auto& entry : transport::registryList()) {
            if (fqName == entry.interface.c_str()) names.emplace_back(entry.instance);
        }
        callback(names);
        return Void();
    }

    Return<bool> registerForNotifications(const hidl_string& fqName, const hidl_string& name,
                                          const sp<IServiceNotification>& callback) override {
        return transport::notifyOfRegistrations(fqName, name, callback);
    }

    Return<void> debugDump(debugDump_cb callback) override {
        if (const Status status = registryStatus(); !status.isOk()) return status;
        std::vector<InstanceDebugInfo> infos;
        for (const auto& entry : transport::registryList()) {
            InstanceDebugInfo info{};
            info.interfaceName = entry.interface;
            info.instanceName = entry.instance;
            info.pid = entry.pid;
            info.arch = kArchitecture;
            infos.push_back(info);
        }
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
