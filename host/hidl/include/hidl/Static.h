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

// The generated code knows the scheduler's default by its kernel name.
#ifndef SCHED_NORMAL
#define SCHED_NORMAL SCHED_OTHER
#endif

namespace android::hardware::details {

/** A map that any thread may use; the generated code registers itself in some. */
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
    /** Erases the entry only where it still is `value`. */
    template <typename V>
    void eraseIfEqual(const Key& key, const V& value) {
        std::lock_guard<std::mutex> lock(mutex_);
        auto found = map_.find(key);
        if (found != map_.end() && found->second == value) map_.erase(found);
    }
    /** The value of `key`; where `usable` refuses it, `make` gives a new one that replaces it. */
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
using BsConstructor = std::function<sp<hidl::base::V1_0::IBase>(void*)>;

/** Makes the stub (Bn) or the in-process wrapper (Bs) of an interface, by the interface's name. */
ConcurrentMap<std::string, BnConstructor>& getBnConstructorMap();
ConcurrentMap<std::string, BsConstructor>& getBsConstructorMap();

struct SchedPrio {
    int sched_policy;
    int prio;
};

// The stub through which each local object was passed out, and what was asked for
// it before that. Pointers, never destroyed: stubs may die in static destructors.
extern ConcurrentMap<const hidl::base::V1_0::IBase*, wp<IBinder>>* const gBnMap;
extern ConcurrentMap<wp<hidl::base::V1_0::IBase>, SchedPrio>* const gServicePrioMap;
extern ConcurrentMap<wp<hidl::base::V1_0::IBase>, bool>* const gServiceSidMap;

}  // namespace android::hardware::details
