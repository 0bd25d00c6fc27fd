// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>
#include <tuple>
#include <utility>

#include "values.h"

/** For the generated code: the functions of Method and Interface, for any method and interface. */
namespace hidlaudio::hidl_json {

using android::hardware::Return;

/** 1 if the last parameter of a method is the callback for its results, or else 0. */
template <typename Last>
constexpr size_t kResultCallbacks = 0;
template <typename... R>
constexpr size_t kResultCallbacks<std::function<void(R...)>> = 1;

template <typename Tuple, size_t... INDEX>
auto prefixOf(std::index_sequence<INDEX...>) -> std::tuple<std::tuple_element_t<INDEX, Tuple>...>;

/** Types of a method, by the type of the pointer to it. */
template <typename Pointer>
struct Signature;
template <typename R, typename I, typename... P>
struct Signature<Return<R> (I::*)(P...)> {
    using Interface = I;
    using Returned = R;
    using Parameters = std::tuple<std::decay_t<P>...>;
    static constexpr size_t kCallbacks =
        kResultCallbacks<std::tuple_element_t<sizeof...(P), std::tuple<void*, std::decay_t<P>...>>>;
    using Arguments = decltype(prefixOf<Parameters>(std::make_index_sequence<sizeof...(P) - kCallbacks>()));
};

template <typename... T>
Json namedToJson(const std::vector<const char*>& names, Objects& objects, const T&... values) {
    Json json = Json::object();
    auto name = names.begin();
    (void)name, (void)objects;
    ((json[*name++] = toJson(values, objects)), ...);
    return json;
}

template <typename Tuple>
bool namedFromJson(const std::vector<const char*>& names, const Json& json, Tuple& values, Reading& reading) {
    auto name = names.begin();
    (void)name;
    return isObject(json, reading) &&
           std::apply([&](auto&... value) { return (memberFromJson(json, *name++, value, reading) && ...); },
                      values);
}

/** Calls the method and converts its results, however it returns them. */
template <auto METHOD, typename... A>
void callWith(const Method& method, Objects& objects, Outcome& outcome, IBase& object,
              const A&... arguments) {
    using Sign = Signature<decltype(METHOD)>;
    auto& target = static_cast<typename Sign::Interface&>(object);
    outcome.results = Json::object();
    auto returned = [&] {
        if constexpr (Sign::kCallbacks != 0) {
            return (target.*METHOD)(arguments..., [&](const auto&... results) {
                outcome.results = namedToJson(method.results, objects, results...);
            });
        } else {
            return (target.*METHOD)(arguments...);
        }
    }();
    outcome.isOk = returned.isOk();
    outcome.isDead = returned.isDeadObject();
    if (!outcome.isOk) outcome.description = returned.description();
    if constexpr (!std::is_void_v<typename Sign::Returned>) {
        if (!outcome.isOk) return;
        outcome.results =
            namedToJson(method.results, objects, static_cast<typename Sign::Returned>(returned));
    }
}

template <auto METHOD>
Outcome callMethod(const Method& method, IBase& object, const Json& arguments, Objects& objects) {
    typename Signature<decltype(METHOD)>::Arguments values{};
    Outcome outcome;
    Reading reading{objects};
    if (!namedFromJson(method.arguments, arguments, values, reading)) {
        outcome.problem = reading.problem;
        return outcome;
    }
    std::apply([&](const auto&... value) { callWith<METHOD>(method, objects, outcome, object, value...); },
               values);
    return outcome;
}

/** Base of the relays: hands each call to the handler. */
class RelayObject {
  public:
    RelayObject(uint64_t relay, RelayHandler& handler) : relay_(relay), handler_(handler) {}
    virtual ~RelayObject() = default;
    RelayObject(const RelayObject&) = delete;
    RelayObject& operator=(const RelayObject&) = delete;

    uint64_t relay() const { return relay_; }

  protected:
    template <typename... R, typename... A>
    std::tuple<R...> request(const Method& method, const A&... arguments) const {
        const Json given = namedToJson(method.arguments, handler_.objects(), arguments...);
        const Json answer = handler_.onCall(relay_, method, given);
        std::tuple<R...> results{};
        Reading reading{handler_.objects()};
        if (answer.is_object() && !namedFromJson(method.results, answer, results, reading)) return {};
        return results;
    }

  private:
    const uint64_t relay_;
    RelayHandler& handler_;
};

template <typename I>
sp<IBase> findService(const std::string& instance) {
    return I::tryGetService(instance);
}

template <typename I>
sp<IBase> castObject(const sp<IBase>& object) {
    return Return<sp<I>>(I::castFrom(object)).withDefault(nullptr);
}

template <typename I>
android::status_t registerObject(const sp<IBase>& object, const std::string& instance) {
    return static_cast<I*>(object.get())->registerAsService(instance);
}

template <typename Relay>
sp<IBase> makeRelay(uint64_t relay, RelayHandler& handler) {
    return sp<IBase>(new Relay(relay, handler));
}

}  // namespace hidlaudio::hidl_json
