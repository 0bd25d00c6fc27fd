// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "instance.h"

namespace tovi_audio_vts {

using Names = std::vector<std::string>;

/** Returns the result of a call. If the call failed, the test fails and the result is T{}. */
template <typename T>
T valueOf(Return<T> call) {
    EXPECT_TRUE(call.isOk()) << call.description();
    return call.withDefault(T{});
}

inline void expectOk(const Return<void>& call) {
    EXPECT_TRUE(call.isOk()) << call.description();
}

/**
 * Returns the result that a method passes to its callback: resultOf<T>([&](auto callback) { return
 * service->method(callback); }).
 */
template <typename T, typename Call>
T resultOf(Call call) {
    T result{};
    int count = 0;
    expectOk(call([&](const T& value) {
        result = value;
        ++count;
    }));
    EXPECT_EQ(count, 1) << "the method must deliver its result once";
    return result;
}

inline Names toNames(const hidl_vec<hidl_string>& names) {
    return {names.begin(), names.end()};
}

inline hidl_vec<hidl_string> toHidl(const Names& names) {
    return {names.begin(), names.end()};
}

/** As resultOf(), for a list of strings. */
template <typename Call>
Names namesOf(Call call) {
    return toNames(resultOf<hidl_vec<hidl_string>>(call));
}

}  // namespace tovi_audio_vts
