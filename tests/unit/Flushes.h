// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>

namespace tests {

/** What this program's calls of fdatasync() and fsync() do; Flushes.cpp takes the place of the system's. */
struct Flushes {
    static std::atomic<int> count;   // how many there have been
    static std::atomic<bool> failed; // none works while it is set
};

} // namespace tests
