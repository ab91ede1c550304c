// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>

namespace tags {

/**
 * Runs `work` in a process of its own, for libraries that hostile bytes can bring down, or make run or grow
 * for ever. Nothing of what it does to the memory comes back; it must neither touch what other threads may
 * hold locked, nor write to what this process has open.
 * @param memory how many bytes it may use more than this process does
 * @throws util::Exception that `work` has thrown, or when it crashes or takes longer than `timeLimit`
 */
void runApart(const std::function<void()>& work, std::chrono::seconds timeLimit, std::size_t memory);

} // namespace tags
