// SPDX-License-Identifier: MIT
#include "store/Renditions.h"

#include "util/Exception.h"
#include "util/File.h"
#include "util/Log.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace store {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view extension = ".png";
constexpr std::size_t maxFileBytes = std::size_t{1} << 30U;
constexpr std::time_t useIsNotedAfterSeconds = 60;
constexpr std::time_t temporaryIsStaleAfterSeconds = 600;

struct KeptFile {
    fs::path path;
    std::uint64_t bytes;
    std::int64_t usedAtNanoseconds;
};

std::int64_t nanoseconds(const timespec& time) {
    return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

std::vector<KeptFile> filesIn(const fs::path& folder) {
    std::vector<KeptFile> files;
    const std::time_t now = std::time(nullptr);
    for (const fs::directory_entry& file : fs::directory_iterator(folder)) {
        struct stat status = {};
        if (::stat(file.path().c_str(), &status) != 0) continue; // another process dropped it meanwhile
        const std::string name = file.path().filename();
        if (name.starts_with(util::temporaryPrefix) && now - status.st_mtime > temporaryIsStaleAfterSeconds)
            ::unlink(file.path().c_str()); // its writer was killed
        if (name.ends_with(extension))
            files.push_back(
                {file.path(), static_cast<std::uint64_t>(status.st_size), nanoseconds(status.st_mtim)});
    }
    return files;
}

} // namespace

Renditions::Renditions(fs::path folder) : folder_(std::move(folder)) {}

std::optional<util::Buffer> Renditions::find(const std::string& hash) const {
    const fs::path path = folder_ / (hash + std::string(extension));
    struct stat status = {};
    if (::stat(path.c_str(), &status) != 0) return std::nullopt;
    try {
        util::Buffer png = util::readFile(path.c_str(), maxFileBytes);
        const bool noted = std::time(nullptr) - status.st_mtime <= useIsNotedAfterSeconds;
        if (!noted) ::utimensat(AT_FDCWD, path.c_str(), nullptr, 0);
        return png;
    } catch (const util::Exception& failure) {
        util::logLine(fmt::format("rendition {}: {}", hash, failure.what()));
        return std::nullopt;
    }
}

void Renditions::keep(const std::string& hash, std::span<const std::byte> png,
                      std::uint64_t maxTotalBytes) const {
    if (png.size() > std::min<std::uint64_t>(maxTotalBytes, maxFileBytes)) return;
    std::error_code ignored; // what matters is whether the file can be written
    fs::create_directory(folder_, ignored);
    util::replaceFile((folder_ / (hash + std::string(extension))).c_str(), png);
    dropLeastRecentlyUsed(maxTotalBytes);
}

void Renditions::dropLeastRecentlyUsed(std::uint64_t maxTotalBytes) const {
    std::vector<KeptFile> files = filesIn(folder_);
    std::uint64_t total = 0;
    for (const KeptFile& file : files)
        total += file.bytes;
    std::sort(files.begin(), files.end(),
              [](const KeptFile& a, const KeptFile& b) { return a.usedAtNanoseconds < b.usedAtNanoseconds; });
    for (const KeptFile& file : files) {
        if (total <= maxTotalBytes) return;
        ::unlink(file.path.c_str());
        total -= file.bytes;
    }
}

} // namespace store
