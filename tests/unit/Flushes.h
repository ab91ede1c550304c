// SPDX-License-Identifier: MIT
#pragma once

namespace tests {

/** What this program's calls of fdatasync() and fsync() do; Flushes.cpp takes the place of the system's. */
struct Flushes {
    static int count;   // how many there have been
    static bool failed; // none works while it is set
};

} // namespace tests
