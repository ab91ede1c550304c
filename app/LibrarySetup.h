// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>

namespace app {

// What is process-wide; to be called before there is a second thread.

/** A process that an exception ends says so in one readable line, and leaves with exit code 1. */
void setUpLastWords() noexcept;

void setUpNetwork();

void setUpXml(const std::filesystem::path& stateFolder);

} // namespace app
