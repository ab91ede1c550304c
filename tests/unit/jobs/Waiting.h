// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
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

/** Makes a program out of the lines of a shell script, which finds the song in $1 and the temporary file in
 * $2. @return its path */
inline std::filesystem::path makeProgram(const std::filesystem::path& path, const std::string& lines) {
    std::ofstream(path) << "#!/bin/sh\n" << lines << '\n';
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    return path;
}

} // namespace tests
