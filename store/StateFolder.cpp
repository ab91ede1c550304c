// SPDX-License-Identifier: MIT
#include "store/StateFolder.h"

#include "util/Exception.h"

#include <fmt/format.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>
#include <system_error>
#include <vector>

namespace store {
namespace {

namespace fs = std::filesystem;

std::string environment(const char* name) {
    const char* value =
        std::getenv(name); // NOLINT(concurrency-mt-unsafe): read once, before there is a second thread
    return value == nullptr ? std::string() : std::string(value);
}

fs::path homeFolder() {
    if (const std::string home = environment("HOME"); !home.empty()) return home;
    passwd entry{};
    passwd* found = nullptr;
    std::vector<char> text(16384);
    if (getpwuid_r(getuid(), &entry, text.data(), text.size(), &found) == 0 && found != nullptr)
        return entry.pw_dir;
    throw util::Exception("There is no home folder to keep the covers in; set STATE_DIRECTORY.");
}

fs::path chosenFolder() {
    // systemd lists several folders with colons between them; the first one is ours.
    std::string state = environment("STATE_DIRECTORY");
    if (const auto colon = state.find(':'); colon != std::string::npos) state.resize(colon);
    if (!state.empty()) return state;
    if (const fs::path xdg = environment("XDG_STATE_HOME"); xdg.is_absolute()) return xdg / "sleevery";
    if (fs::path system = "/var/lib/sleevery"; access(system.c_str(), W_OK | X_OK) == 0) return system;
    return homeFolder() / ".local" / "state" / "sleevery";
}

void make(const fs::path& folder) {
    if (folder.has_parent_path()) fs::create_directories(folder.parent_path());
    if (mkdir(folder.c_str(), S_IRWXU) != 0 && errno != EEXIST)
        throw std::system_error(errno, std::generic_category());
    if (!fs::is_directory(folder)) throw std::system_error(ENOTDIR, std::generic_category());
    if (access(folder.c_str(), R_OK | W_OK | X_OK) != 0)
        throw std::system_error(errno, std::generic_category());
}

} // namespace

fs::path stateFolder() {
    fs::path folder = fs::absolute(chosenFolder());
    try {
        make(folder);
    } catch (const std::system_error& e) {
        throw util::Exception(
            fmt::format("The state folder {} can't be used: {}.", folder.string(), e.code().message()));
    }
    return folder;
}

} // namespace store
