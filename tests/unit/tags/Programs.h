// SPDX-License-Identifier: MIT
#pragma once

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <stdexcept>
#include <string>
#include <vector>

namespace tests {

/** The program's standard output. @throws std::runtime_error when it fails */
inline std::string run(std::vector<std::string> words) {
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (std::string& word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) throw std::runtime_error("no pipe");
    posix_spawn_file_actions_t actions{};
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, ends[0]);
    posix_spawn_file_actions_addclose(&actions, ends[1]);
    pid_t child = 0;
    const int error = posix_spawnp(&child, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    std::string output;
    std::array<char, 65536> block{};
    for (ssize_t count = 1; error == 0 && (count = read(ends[0], block.data(), block.size())) > 0;)
        output.append(block.data(), static_cast<std::size_t>(count));
    close(ends[0]);
    int status = -1;
    if (error == 0) waitpid(child, &status, 0);
    if (status != 0) throw std::runtime_error(words[0] + " has failed: " + words.back());
    return output;
}

} // namespace tests
