// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <fstream>
#include <string>

namespace tests {

/** Makes a program out of the lines of a shell script, which finds the song in $1 and the temporary file in
 * $2. @return its path */
inline std::filesystem::path makeProgram(const std::filesystem::path& path, const std::string& lines) {
    std::ofstream(path) << "#!/bin/sh\n" << lines << '\n';
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    return path;
}

} // namespace tests
