// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>

namespace app {

// What is process-wide; to be called before there is a second thread.

/** A process that an exception ends says so in one readable line, and leaves with exit code 1. */
void setUpLastWords() noexcept;

/**
 * Fixes how much freed memory the allocator keeps: enough for the two buffers of a show, which would
 * otherwise be taken from the system and faulted in anew for each request (half the speed), and no more,
 * however large the images were that came by.
 */
void setUpMemory() noexcept;

void setUpXml(const std::filesystem::path& stateFolder);

} // namespace app
