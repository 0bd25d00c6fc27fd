// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android/hidl/base/1.0/IBase.h>
#include <utils/Errors.h>
#include <utils/StrongPointer.h>

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

/**
 * The JSON form of HIDL calls. Arguments, results and structs are objects with the names of the interface.
 * Enum values are their names, or numbers if they have none; bit fields are numbers. Vectors and arrays are
 * arrays, but vectors of bytes and strings that are not valid UTF-8 are binary values. A float is the
 * shortest number that is rounded to it; "NaN", "Infinity" and "-Infinity" are strings. `Objects` defines the
 * form of interfaces.
 */
namespace hidlaudio::hidl_json {

using android::sp;
using android::hidl::base::V1_0::IBase;
using Json = nlohmann::ordered_json;

/** Converts objects, which have no JSON form of their own. Implemented by the user of the library. */
class Objects {
  public:
    virtual ~Objects() = default;
    /** `object` is not null; `interface` is the descriptor of its declared type. */
    virtual Json toJson(const sp<IBase>& object, const char* interface) = 0;
    /**
     * `json` is not null. Returns an object that can be cast to `interface`, or null after setting `problem`.
     */
    virtual sp<IBase> fromJson(const Json& json, const char* interface, std::string& problem) = 0;
};

/** Outcome of a call. */
struct Outcome {
    std::string problem;  // why the arguments are invalid, or empty. The call is then not made
    bool isOk = false;
    bool isDead = false;      // the process of the object has ended
    std::string description;  // of a call that is not ok
    Json results;             // an object, of a call that is ok
};

/** A method of an interface, with the names of its arguments and results. */
struct Method {
    const char* name;
    std::vector<const char*> arguments;
    std::vector<const char*> results;
    /** Calls the method of `object`, which must implement the interface of the method. */
    Outcome (*call)(const Method& method, IBase& object, const Json& arguments, Objects& objects);
};

/** Handles the calls of relays, which are local objects without an own implementation. Any thread. */
class RelayHandler {
  public:
    virtual ~RelayHandler() = default;
    virtual Objects& objects() = 0;
    /** Returns the object of the results. Missing results become zero or empty. */
    virtual Json onCall(uint64_t relay, const Method& method, const Json& arguments) = 0;
};

/** An interface. Its functions take objects that implement it. */
struct Interface {
    const char* name;  // the descriptor
    const std::vector<Method>& methods;
    sp<IBase> (*find)(const std::string& instance);  // does not wait; null if it is not registered
    sp<IBase> (*cast)(const sp<IBase>& object);      // null if `object` does not implement the interface
    android::status_t (*registerAsService)(const sp<IBase>& object, const std::string& instance);
    /** Null if the relay would have a method without a JSON form. `handler` must outlive the object. */
    sp<IBase> (*makeRelay)(uint64_t relay, RelayHandler& handler);
};

/** Returns the interface with this descriptor that the program links, or `nullptr`. */
const Interface* findInterface(std::string_view descriptor);

/** Returns the method, inherited or not, or `nullptr`. */
const Method* findMethod(const Interface& interface, std::string_view name);

/** Makes an interface known to findInterface(). For the generated code. */
struct Registration {
    explicit Registration(const Interface& interface);
};

}  // namespace hidlaudio::hidl_json
