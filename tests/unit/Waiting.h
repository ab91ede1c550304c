// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <thread>

namespace tests {

/** Waits until something is the case. @return false when it isn't after half a minute */
template <typename Condition>
[[nodiscard]] bool comesTrue(Condition condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

} // namespace tests
