// SPDX-License-Identifier: MIT
#include "tagger/FileAttributes.h"

#include "util/Exception.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <map>
#include <string>
#include <string_view>
#include <system_error>

namespace tagger {
namespace {

constexpr mode_t permissions = S_ISUID | S_ISGID | S_ISVTX | S_IRWXU | S_IRWXG | S_IRWXO;

[[noreturn]] void fail(std::string_view what) {
    throw util::Exception(
        fmt::format("The song file's {} can't be kept: {}.", what, std::generic_category().message(errno)));
}

constexpr const char* attributes = "extended attributes";

/** The result of a system call that is called twice: first for the size, then for the bytes. */
template <typename Call>
std::string bytesFrom(Call call) {
    while (true) {
        const ssize_t size = call(nullptr, 0);
        std::string bytes(size > 0 ? static_cast<std::size_t>(size) : 0, '\0');
        const ssize_t count = size > 0 ? call(bytes.data(), bytes.size()) : size;
        if (count < 0 && errno == ERANGE) continue; // it has grown since the first call
        if (count < 0 && errno == EOPNOTSUPP) return {};
        if (count < 0) fail(attributes);
        bytes.resize(static_cast<std::size_t>(count));
        return bytes;
    }
}

std::map<std::string, std::string> attributesOf(int file) {
    const std::string names =
        bytesFrom([&](char* to, std::size_t size) { return ::flistxattr(file, to, size); });
    std::map<std::string, std::string> all;
    for (std::size_t at = 0; at < names.size(); at += std::string_view(&names[at]).size() + 1) {
        const std::string name = &names[at];
        all[name] =
            bytesFrom([&](char* to, std::size_t size) { return ::fgetxattr(file, name.c_str(), to, size); });
    }
    return all;
}

void copyExtendedAttributes(int original, int copy) {
    const std::map<std::string, std::string> wanted = attributesOf(original);
    const std::map<std::string, std::string> there = attributesOf(copy);
    for (const auto& [name, value] : there) // such as those inherited from the folder
        if (!wanted.contains(name) && ::fremovexattr(copy, name.c_str()) != 0) fail(attributes);
    for (const auto& [name, value] : wanted) {
        const auto found = there.find(name);
        const bool same = found != there.end() && found->second == value;
        if (!same && ::fsetxattr(copy, name.c_str(), value.data(), value.size(), 0) != 0) fail(attributes);
    }
}

} // namespace

void copyAttributes(int original, int copy) {
    struct stat wanted = {};
    struct stat there = {};
    if (::fstat(original, &wanted) != 0 || ::fstat(copy, &there) != 0) fail("owner");
    const bool sameOwner = wanted.st_uid == there.st_uid && wanted.st_gid == there.st_gid;
    if (!sameOwner && ::fchown(copy, wanted.st_uid, wanted.st_gid) != 0) fail("owner");
    copyExtendedAttributes(original, copy);
    if (::fchmod(copy, wanted.st_mode & permissions) != 0) fail("permissions"); // last: fchown clears some
}

} // namespace tagger
