// SPDX-License-Identifier: MIT
#include "util/File.h"

#include "util/Exception.h"
#include "util/FileDescriptor.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <random>
#include <string>
#include <string_view>
#include <system_error>

namespace util {
namespace {

[[noreturn]] void fail(std::string_view what) {
    throw Exception(fmt::format("The file can't be {}: {}.", what, std::generic_category().message(errno)));
}

/** Reads up to `target.size()` bytes. @return how many it read; fewer at the end of the file */
std::size_t readUpTo(int fd, std::span<std::byte> target) {
    std::size_t done = 0;
    while (done < target.size()) {
        const ssize_t count = ::read(fd, target.data() + done, target.size() - done);
        if (count == 0) break;
        if (count < 0 && errno != EINTR) fail("read");
        if (count > 0) done += static_cast<std::size_t>(count);
    }
    return done;
}

void writeAll(int fd, std::span<const std::byte> bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::write(fd, bytes.data(), bytes.size());
        if (count < 0 && errno != EINTR) fail("written");
        if (count > 0) bytes = bytes.subspan(static_cast<std::size_t>(count));
    }
}

/** A new file with a random name. The destructor removes it unless it has been renamed. */
class TemporaryFile {
public:
    explicit TemporaryFile(const std::filesystem::path& folder)
        : path_(folder / fmt::format("{}{:08x}{:08x}", temporaryPrefix, std::random_device{}(),
                                     std::random_device{}())),
          file_(::open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666)) {
        if (!file_) fail("created");
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() {
        if (!renamed_) ::unlink(path_.c_str());
    }

    void write(std::span<const std::byte> bytes) const {
        writeAll(file_.get(), bytes);
        if (::fsync(file_.get()) != 0) fail("written");
    }

    void rename(const char* target) {
        if (::rename(path_.c_str(), target) != 0) fail("written");
        renamed_ = true;
    }

private:
    std::filesystem::path path_;
    FileDescriptor file_;
    bool renamed_ = false;
};

} // namespace

Buffer readFile(const char* path, std::size_t maxBytes) {
    const FileDescriptor file(::open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat status = {};
    if (!file || ::fstat(file.get(), &status) != 0) fail("opened");
    if (!S_ISREG(status.st_mode)) throw Exception("This is not a regular file.");
    const auto size = static_cast<std::uint64_t>(status.st_size);
    if (size > maxBytes) throw Exception(fmt::format("The file is larger than {} bytes.", maxBytes));
    Buffer content(static_cast<std::size_t>(size));
    const std::size_t got = readUpTo(file.get(), {content.data(), content.size()});
    return {content.release(), got};
}

void replaceFile(const char* path, std::span<const std::byte> bytes) {
    TemporaryFile file(std::filesystem::path(path).parent_path());
    file.write(bytes);
    file.rename(path);
}

} // namespace util
