// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>

namespace app {

// What is process-wide; to be called before there is a second thread.

/** A process that an exception ends says so in one readable line, and leaves with exit code 1. */
void setUpLastWords() noexcept;

/**
 * Large blocks go back to the system as soon as they are freed, so that an idle process is small whatever it has served.
 * Left alone, the allocator learns from each large block to keep the next ones.
 */
void setUpMemory() noexcept;

void setUpXml(const std::filesystem::path& stateFolder);

} // namespace app
