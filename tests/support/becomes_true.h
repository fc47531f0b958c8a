#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <thread>

/** Waits until the condition holds: at most 30 s, since a busy machine does late what it does. */
inline testing::AssertionResult becomes_true(const std::function<bool()>& condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return testing::AssertionFailure() << "it has not become true within 30 s";
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return testing::AssertionSuccess();
}
