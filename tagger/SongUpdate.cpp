// SPDX-License-Identifier: MIT
#include "tagger/SongUpdate.h"

#include "tagger/FileAttributes.h"
#include "tagger/Lease.h"
#include "tagger/SongFolder.h"
#include "tags/FrontCover.h"
#include "tags/Verification.h"
#include "util/FileDescriptor.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <string_view>
#include <system_error>

namespace tagger {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void fail(std::string_view what, int error) {
    const std::string sentence =
        fmt::format("The {} can't be written: {}.", what, std::generic_category().message(error));
    if (error == ENOSPC || error == EDQUOT || error == EBUSY || error == ETXTBSY)
        throw TryAgainLater(sentence);
    throw util::Exception(sentence);
}

/** The song file in its state when it was opened. */
class Original {
public:
    Original(const SongFolder& folder, const fs::path& name)
        : folder_(folder), name_(name),
          file_(::openat(folder.get(), name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC)) {
        if (!file_ && errno == EWOULDBLOCK) // a file server holds a lease on it
            throw TryAgainLater("Another program has the song file for itself.");
        if (!file_ || ::fstat(file_.get(), &found_) != 0)
            throw util::Exception(
                fmt::format("The song file can't be opened: {}.", std::generic_category().message(errno)));
        // faccessat() lets root write into any file, but a file marked read-only must stay unchanged.
        constexpr mode_t writable = S_IWUSR | S_IWGRP | S_IWOTH;
        if ((found_.st_mode & writable) == 0 ||
            ::faccessat(folder.get(), name.c_str(), W_OK, AT_EACCESS) != 0)
            throw util::Exception("The song file is read-only.");
    }

    [[nodiscard]] int get() const noexcept { return file_.get(); }

    /** A path to the opened file, even if its name now belongs to another file. */
    [[nodiscard]] fs::path path() const { return fmt::format("/proc/self/fd/{}", file_.get()); }

    [[nodiscard]] std::uint64_t size() const noexcept { return static_cast<std::uint64_t>(found_.st_size); }

    /** @throws TryAgainLater if the file has changed, or its name belongs to another file */
    void check() const {
        struct stat now = {};
        const bool same = ::fstatat(folder_.get(), name_.c_str(), &now, AT_SYMLINK_NOFOLLOW) == 0 &&
                          now.st_dev == found_.st_dev && now.st_ino == found_.st_ino &&
                          now.st_size == found_.st_size && sameTime(now.st_mtim, found_.st_mtim) &&
                          sameTime(now.st_ctim, found_.st_ctim);
        if (!same) throw TryAgainLater("The song file was changed by another program meanwhile.");
    }

private:
    static bool sameTime(const timespec& one, const timespec& other) noexcept {
        return one.tv_sec == other.tv_sec && one.tv_nsec == other.tv_nsec;
    }

    const SongFolder& folder_;
    const fs::path& name_;
    util::FileDescriptor file_;
    struct stat found_ = {};
};

/** The new file. The destructor removes it unless rename() put it in the place of the old one. */
class TemporaryFile {
public:
    TemporaryFile(const SongFolder& folder, fs::path name)
        : folder_(folder), name_(std::move(name)),
          file_(::openat(folder.get(), name_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                         S_IRUSR | S_IWUSR)) {
        if (!file_) fail("copy of the song file", errno);
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() {
        if (!renamed_) ::unlinkat(folder_.get(), name_.c_str(), 0);
    }

    [[nodiscard]] const util::FileDescriptor& descriptor() const noexcept { return file_; }
    [[nodiscard]] fs::path path() const { return folder_.file(name_); }

    /** Starts writing to disk early, so that it runs while the copy is verified. */
    void startFlushing() const noexcept { ::sync_file_range(file_.get(), 0, 0, SYNC_FILE_RANGE_WRITE); }

    void flush() const {
        if (::fsync(file_.get()) != 0) fail("copy of the song file", errno);
    }

    void rename(const fs::path& name) {
        if (::renameat(folder_.get(), name_.c_str(), folder_.get(), name.c_str()) != 0)
            fail("song file", errno);
        renamed_ = true;
    }

private:
    const SongFolder& folder_;
    fs::path name_;
    util::FileDescriptor file_;
    bool renamed_ = false;
};

/**
 * Checks that there is space for the copy, and as much again for other programs.
 * @throws TryAgainLater when there is less
 */
void needSpace(const SongFolder& folder, std::uint64_t songBytes, std::uint64_t pictureBytes) {
    constexpr std::uint64_t mebibyte = std::uint64_t{1024} * 1024;
    struct statvfs disk = {};
    if (::fstatvfs(folder.get(), &disk) != 0) fail("copy of the song file", errno);
    const std::uint64_t needed = 2 * songBytes + pictureBytes + mebibyte;
    const bool known = disk.f_blocks != 0; // some file systems without limits report only zeros
    if (known && disk.f_bavail * disk.f_frsize < needed)
        throw TryAgainLater(
            fmt::format("There is not enough space on the disk of the song file: {} MiB are needed.",
                        needed / mebibyte + 1));
}

void fill(const TemporaryFile& copy, const fs::path& song, std::span<const std::byte> picture) {
    try {
        tags::writeFrontCover(song, picture, copy.descriptor());
    } catch (const std::system_error& e) {
        fail("copy of the song file", e.code().value());
    }
    copy.startFlushing();
}

} // namespace

void writeCover(const SongUpdate& update) {
    const SongFolder folder(update.song.parent_path());
    const fs::path name = update.song.filename();
    const Original original(folder, name);
    const fs::path song = original.path();
    const Lease lease(original.get());
    if (!update.replace && !tags::readFrontCover(song).empty()) {
        folder.flush(); // a killed run may have written it just before
        return;
    }
    const util::Buffer picture = update.fit(
        update.picture, {.maxSidePixels = update.maxSidePixels, .maxBytes = tags::maxPictureBytes(song)});
    if (tags::alreadyHas(song, picture.bytes())) {
        folder.flush();
        return;
    }
    needSpace(folder, original.size(), picture.size());

    TemporaryFile copy(folder, update.temporaryFile.filename());
    fill(copy, song, picture.bytes());
    copyAttributes(original.get(), copy.descriptor().get());
    tags::verify(song, copy.path(), picture.bytes());
    copy.flush();
    lease.check();
    original.check();
    copy.rename(name);
    folder.flush();
}

} // namespace tagger
