// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <thread>

namespace tests {

/** Waits until something is the case. @return false when it isn't after a minute and a half: a busy disk may
 * take half of one to flush a file */
template <typename Condition>
[[nodiscard]] bool comesTrue(Condition condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(90);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

} // namespace tests
