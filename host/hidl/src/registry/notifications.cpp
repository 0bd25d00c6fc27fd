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
#include <utility>
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

    /** Adds a request. Returns its existing registrations, of which the caller must notify `callback`. */
    std::vector<RegistryEntry> add(const std::string& interface, const std::string& instance,
                                   const sp<IServiceNotification>& callback);
    /** Removes the requests of a callback. Returns true if no request of any callback is left. */
    bool remove(const sp<IServiceNotification>& callback);

  private:
    // Process and object: if either of them changes, the name has a new registration.
    using Registration = std::pair<uint64_t, uint64_t>;

    struct Request {
        std::string interface;
        std::string instance;
        sp<IServiceNotification> callback;
        std::map<std::string, Registration> known;  // by name
    };

    static std::vector<RegistryEntry> takeNews(Request& request, const std::vector<RegistryEntry>& entries);

    const std::string tv_;
    const base::unique_fd watch_;
    std::mutex mutex_;
    std::vector<Request> requests_ GUARDED_BY(mutex_);
};

// Returns the registrations that the request asks for and does not know yet, and adds them to those it knows.
std::vector<RegistryEntry> RegistrySource::takeNews(Request& request,
                                                    const std::vector<RegistryEntry>& entries) {
    std::vector<RegistryEntry> news;
    for (const RegistryEntry& entry : entries) {
        const bool matches = request.interface == entry.interface &&
                             (request.instance.empty() || request.instance == entry.instance);
        if (!matches) continue;
        const Registration registration{entry.process, entry.object};
        if (std::exchange(request.known[entry.instance], registration) != registration) news.push_back(entry);
    }
    return news;
}

std::vector<RegistryEntry> RegistrySource::add(const std::string& interface, const std::string& instance,
                                               const sp<IServiceNotification>& callback) {
    std::lock_guard<std::mutex> lock(mutex_);
    return takeNews(requests_.emplace_back(Request{interface, instance, callback, {}}), registryList());
}

bool RegistrySource::remove(const sp<IServiceNotification>& callback) {
    std::lock_guard<std::mutex> lock(mutex_);
    const auto isIts = [&callback](const Request& request) { return request.callback == callback; };
    requests_.erase(std::remove_if(requests_.begin(), requests_.end(), isIts), requests_.end());
    return requests_.empty();
}

// Calls the callback for each entry, and logs errors of the calls.
void notify(const sp<IServiceNotification>& callback, const std::vector<RegistryEntry>& entries,
            bool preexisting) {
    for (const RegistryEntry& entry : entries) {
        const Return<void> delivered = callback->onRegistration(entry.interface, entry.instance, preexisting);
        if (!delivered.isOk())
            ALOGW("no notification of %s: %s", entry.interface.c_str(), delivered.description().c_str());
    }
}

void RegistrySource::onReadable(DispatchGuard&) {
    alignas(inotify_event) char events[4096];
    while (read(watch_.get(), events, sizeof(events)) > 0) {
    }
    const hidlaudio::host::ScopedTvRoot scope(tv_);
    std::vector<std::pair<sp<IServiceNotification>, std::vector<RegistryEntry>>> news;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        const std::vector<RegistryEntry> entries = registryList();
        for (Request& request : requests_) news.emplace_back(request.callback, takeNews(request, entries));
    }
    for (const auto& [callback, entries] : news) notify(callback, entries, false);
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
        present = found->second->add(interface, instance, callback);
    }
    Process::self().pool().start();
    notify(callback, present, true);
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
