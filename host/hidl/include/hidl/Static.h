// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/thread_annotations.h>
#include <android/hidl/base/1.0/IBase.h>
#include <hwbinder/IBinder.h>
#include <sched.h>
#include <utils/RefBase.h>

#include <functional>
#include <map>
#include <mutex>
#include <string>

// The generated code uses the kernel's name of the default scheduling policy.
#ifndef SCHED_NORMAL
#define SCHED_NORMAL SCHED_OTHER
#endif

namespace android::hardware::details {

/** Thread-safe map. The generated code registers its constructors in two of them. */
template <typename Key, typename Value>
class ConcurrentMap {
  public:
    void set(const Key& key, const Value& value) {
        std::lock_guard<std::mutex> lock(mutex_);
        map_[key] = value;
    }
    Value get(const Key& key, const Value& otherwise) const {
        std::lock_guard<std::mutex> lock(mutex_);
        auto found = map_.find(key);
        return found != map_.end() ? found->second : otherwise;
    }
    void erase(const Key& key) {
        std::lock_guard<std::mutex> lock(mutex_);
        map_.erase(key);
    }
    /** Erases the entry of `key` if it is still equal to `value`. */
    template <typename V>
    void eraseIfEqual(const Key& key, const V& value) {
        std::lock_guard<std::mutex> lock(mutex_);
        auto found = map_.find(key);
        if (found != map_.end() && found->second == value) map_.erase(found);
    }
    /**
     * Returns usable(value) of the entry `key`. If there is no entry or usable() returns null, returns
     * make() and stores its result unless it is null. Both run with the map locked.
     */
    template <typename Result>
    Result getOrMake(const Key& key, const std::function<Result(const Value&)>& usable,
                     const std::function<Result()>& make) {
        std::lock_guard<std::mutex> lock(mutex_);
        auto found = map_.find(key);
        if (found != map_.end()) {
            Result result = usable(found->second);
            if (result != nullptr) return result;
        }
        Result made = make();
        if (made != nullptr) map_[key] = made;
        return made;
    }

  private:
    mutable std::mutex mutex_;
    std::map<Key, Value> map_ GUARDED_BY(mutex_);
};

using BnConstructor = std::function<sp<IBinder>(void*)>;

/** Constructors of the stubs (Bn), by name of the interface. */
ConcurrentMap<std::string, BnConstructor>& getBnConstructorMap();

/**
 * Takes the constructors of the in-process wrappers (TaskRunner.h) and drops them. Thus nothing refers to the
 * wrappers, and the linker leaves them out of the programs, of whose code they are more than a third.
 */
struct BsConstructorMap {
    template <typename Constructor>
    void set(const char*, const Constructor&) const {}
    void erase(const char*) const {}
};
inline BsConstructorMap getBsConstructorMap() {
    return {};
}

struct SchedPrio {
    int sched_policy;
    int prio;
};

// Stub, scheduling policy and security setting of each local object. The maps are never destroyed,
// because stubs may be destroyed by static destructors.
extern ConcurrentMap<const hidl::base::V1_0::IBase*, wp<IBinder>>* const gBnMap;
extern ConcurrentMap<wp<hidl::base::V1_0::IBase>, SchedPrio>* const gServicePrioMap;
extern ConcurrentMap<wp<hidl::base::V1_0::IBase>, bool>* const gServiceSidMap;

}  // namespace android::hardware::details
