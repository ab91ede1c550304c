// SPDX-License-Identifier: MIT
#include "store/Renditions.h"

#include "store/FileDescriptor.h"
#include "util/Exception.h"
#include "util/Log.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace store {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view extension = ".png";
constexpr std::string_view temporaryExtension = ".tmp";
constexpr std::time_t useIsNotedAfterSeconds = 60;
constexpr std::time_t temporaryIsStaleAfterSeconds = 600;

bool readWhole(int file, std::byte* data, std::size_t size) {
    while (size > 0) {
        const ssize_t got = ::read(file, data, size);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return false;
        data += got;
        size -= static_cast<std::size_t>(got);
    }
    return true;
}

bool writeWhole(int file, std::span<const std::byte> bytes) {
    while (!bytes.empty()) {
        const ssize_t put = ::write(file, bytes.data(), bytes.size());
        if (put < 0 && errno == EINTR) continue;
        if (put < 0) return false;
        bytes = bytes.subspan(static_cast<std::size_t>(put));
    }
    return true;
}

// Files are flushed before they get their name, so this only guards against what befell them later.
bool isWholePng(std::span<const std::byte> bytes) {
    static constexpr std::array<unsigned char, 8> signature{0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    static constexpr std::array<unsigned char, 8> end{'I', 'E', 'N', 'D', 0xAE, 0x42, 0x60, 0x82};
    return bytes.size() > signature.size() + end.size() &&
           std::memcmp(bytes.data(), signature.data(), signature.size()) == 0 &&
           std::memcmp(bytes.data() + bytes.size() - end.size(), end.data(), end.size()) == 0;
}

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
        struct stat status {};
        if (::stat(file.path().c_str(), &status) != 0) continue; // another process dropped it meanwhile
        const std::string kind = file.path().extension();
        if (kind == temporaryExtension && now - status.st_mtime > temporaryIsStaleAfterSeconds)
            ::unlink(file.path().c_str()); // its writer was killed
        if (kind == extension)
            files.push_back(
                {file.path(), static_cast<std::uint64_t>(status.st_size), nanoseconds(status.st_mtim)});
    }
    return files;
}

} // namespace

Renditions::Renditions(fs::path folder) : folder_(std::move(folder)) {}

std::optional<util::Buffer> Renditions::find(const std::string& hash) const {
    const fs::path path = folder_ / (hash + std::string(extension));
    const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat status {};
    if (!file || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
    util::Buffer png(static_cast<std::size_t>(status.st_size));
    if (!readWhole(file.get(), png.data(), png.size()) || !isWholePng(png.bytes())) {
        util::logLine(fmt::format("rendition {} is damaged and is made again", hash));
        ::unlink(path.c_str());
        return std::nullopt;
    }
    if (std::time(nullptr) - status.st_mtime > useIsNotedAfterSeconds) ::futimens(file.get(), nullptr);
    return png;
}

void Renditions::keep(const std::string& hash, std::span<const std::byte> png,
                      std::uint64_t maxTotalBytes) const {
    if (png.size() > maxTotalBytes) return;
    std::error_code ignored; // what matters is whether the file can be written
    fs::create_directory(folder_, ignored);
    const fs::path path = folder_ / (hash + std::string(extension));
    const fs::path temporary = folder_ / fmt::format("{}.{}{}", hash, ::getpid(), temporaryExtension);
    const FileDescriptor file(
        ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (!file || !writeWhole(file.get(), png) || ::fdatasync(file.get()) != 0 ||
        ::rename(temporary.c_str(), path.c_str()) != 0) {
        const int error = errno;
        ::unlink(temporary.c_str());
        throw util::Exception(
            fmt::format("The PNG of a cover could not be kept: {}.", std::generic_category().message(error)));
    }
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
