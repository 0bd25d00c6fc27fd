// SPDX-License-Identifier: Apache-2.0
#define LOG_TAG "HidlTransport"

#include "notifications.h"

#include <android-base/thread_annotations.h>
#include <log/log.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <algorithm>
#include <map>
#include <mutex>
#include <vector>

#include "host/hidl/src/threads/process.h"
#include "host/tv_files/tv_root.h"
#include "registry.h"
#include "registry_folder.h"

namespace android::hardware::transport {
namespace {

using hidl::manager::V1_0::IServiceNotification;

/** Watches the registry's folder. Its file of names is written at its end, or replaced by another. */
class RegistrySource : public Source {
  public:
    RegistrySource(std::string tv, base::unique_fd watch) : tv_(std::move(tv)), watch_(std::move(watch)) {}
    int fd() const override { return watch_.get(); }
    void onReadable(DispatchGuard& turn) override;

    struct Wanted {
        std::string interface;
        std::string instance;
        sp<IServiceNotification> callback;
    };

    /** Adds a request. Returns its existing registrations, which onReadable() does not report again. */
    std::vector<RegistryEntry> add(const Wanted& wanted);
    /** Removes the requests of a callback. Returns true if no request of any callback is left. */
    bool remove(const sp<IServiceNotification>& callback);
    /** Calls the callback of `wanted`; logs an error of the call. */
    static void notify(const Wanted& wanted, const RegistryEntry& entry, bool preexisting);

  private:
    // Process and object: if either of them changes, the name has a new registration.
    using Registration = std::pair<uint64_t, uint64_t>;

    std::vector<RegistryEntry> takeNews() REQUIRES(mutex_);
    static bool matches(const Wanted& wanted, const RegistryEntry& entry) {
        return wanted.interface == entry.interface &&
               (wanted.instance.empty() || wanted.instance == entry.instance);
    }

    const std::string tv_;
    const base::unique_fd watch_;
    std::mutex mutex_;
    std::vector<Wanted> wanted_ GUARDED_BY(mutex_);
    std::map<std::string, Registration> known_ GUARDED_BY(mutex_);
};

std::vector<RegistryEntry> RegistrySource::takeNews() {
    std::vector<RegistryEntry> news;
    for (const RegistryEntry& entry : registryList()) {
        const Registration registration{entry.process, entry.object};
        Registration& known = known_[entry.interface + "/" + entry.instance];
        if (known != registration) news.push_back(entry);
        known = registration;
    }
    return news;
}

void RegistrySource::notify(const Wanted& wanted, const RegistryEntry& entry, bool preexisting) {
    Return<void> delivered = wanted.callback->onRegistration(entry.interface, entry.instance, preexisting);
    if (!delivered.isOk())
        ALOGW("no notification of %s: %s", entry.interface.c_str(), delivered.description().c_str());
}

std::vector<RegistryEntry> RegistrySource::add(const Wanted& wanted) {
    std::lock_guard<std::mutex> lock(mutex_);
    wanted_.push_back(wanted);
    std::vector<RegistryEntry> present;
    for (const RegistryEntry& entry : registryList()) {
        if (!matches(wanted, entry)) continue;
        known_[entry.interface + "/" + entry.instance] = {entry.process, entry.object};
        present.push_back(entry);
    }
    return present;
}

bool RegistrySource::remove(const sp<IServiceNotification>& callback) {
    std::lock_guard<std::mutex> lock(mutex_);
    const auto isIts = [&callback](const Wanted& wanted) { return wanted.callback == callback; };
    wanted_.erase(std::remove_if(wanted_.begin(), wanted_.end(), isIts), wanted_.end());
    return wanted_.empty();
}

void RegistrySource::onReadable(DispatchGuard&) {
    alignas(inotify_event) char events[4096];
    while (read(watch_.get(), events, sizeof(events)) > 0) {
    }
    const hidlaudio::host::ScopedTvRoot scope(tv_);
    std::vector<Wanted> wanted;
    std::vector<RegistryEntry> news;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        wanted = wanted_;
        news = takeNews();
    }
    for (const RegistryEntry& entry : news) {
        for (const Wanted& one : wanted) {
            if (matches(one, entry)) notify(one, entry, false);
        }
    }
}

std::shared_ptr<RegistrySource> watchRegistry(const std::string& tv) {
    if (!makeRegistry()) return nullptr;
    base::unique_fd watch(inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    if (watch < 0 || inotify_add_watch(watch.get(), registryDirectory().c_str(),
                                       IN_CREATE | IN_MODIFY | IN_MOVED_TO) < 0) {
        ALOGE("can't watch %s: %s", registryDirectory().c_str(), strerror(errno));
        return nullptr;
    }
    auto source = std::make_shared<RegistrySource>(tv, std::move(watch));
    Process::self().pool().add(source);
    return source;
}

// The sources of this process, by folder of the TV. A TV has one while notifications are requested.
struct Sources {
    std::mutex mutex;
    std::map<std::string, std::shared_ptr<RegistrySource>> byTv GUARDED_BY(mutex);
};

Sources& sources() {
    static auto* const theSources = new Sources();
    return *theSources;
}

}  // namespace

bool notifyOfRegistrations(const std::string& interface, const std::string& instance,
                           const sp<IServiceNotification>& callback) {
    if (callback == nullptr) return false;
    const RegistrySource::Wanted wanted{interface, instance, callback};
    std::vector<RegistryEntry> present;
    {
        std::lock_guard<std::mutex> lock(sources().mutex);
        const std::string tv = hidlaudio::host::tvRoot();
        auto found = sources().byTv.find(tv);
        if (found == sources().byTv.end()) {
            const std::shared_ptr<RegistrySource> source = watchRegistry(tv);
            if (source == nullptr) return false;
            found = sources().byTv.emplace(tv, source).first;
        }
        present = found->second->add(wanted);
    }
    Process::self().pool().start();
    for (const RegistryEntry& entry : present) RegistrySource::notify(wanted, entry, true);
    return true;
}

void endNotifications(const sp<IServiceNotification>& callback) {
    std::lock_guard<std::mutex> lock(sources().mutex);
    auto& byTv = sources().byTv;
    for (auto it = byTv.begin(); it != byTv.end();) {
        const bool unused = it->second->remove(callback);
        if (unused) Process::self().pool().remove(*it->second);
        it = unused ? byTv.erase(it) : std::next(it);
    }
}

}  // namespace android::hardware::transport
