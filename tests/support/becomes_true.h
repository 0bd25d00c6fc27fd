// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>

namespace hidlaudio::test {

/** Checks the condition every 2 ms. Returns true once it holds, or false after 90 s. */
template <typename Condition>
bool becomesTrue(Condition condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(90);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        usleep(2000);
    }
    return true;
}

/** Waits until the service is registered and returns it. */
template <typename Interface>
auto awaitService() {
    decltype(Interface::getService()) service;
    EXPECT_TRUE(becomesTrue([&] { return (service = Interface::getService()) != nullptr; }));
    return service;
}

}  // namespace hidlaudio::test
