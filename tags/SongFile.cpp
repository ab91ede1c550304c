// SPDX-License-Identifier: MIT
#include "tags/SongFile.h"

#include "util/Exception.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

namespace tags {
namespace {

constexpr std::size_t blockBytes = std::size_t{256} * 1024;

[[noreturn]] void fail(std::string_view what) {
    throw util::Exception(
        fmt::format("The song file can't be {}: {}.", what, std::generic_category().message(errno)));
}

/** Hands out the bytes of ranges, a block at a time, without regard to where one range ends. */
class RangeReader {
public:
    RangeReader(const SongFile& file, const std::vector<Range>& ranges)
        : file_(file), ranges_(ranges), block_(blockBytes) {}

    /** Empty at the end; good until the next call. */
    std::span<const char> next() {
        std::size_t filled = 0;
        while (filled < block_.size() && index_ < ranges_.size()) {
            const Range& range = ranges_[index_];
            const auto wanted =
                static_cast<std::size_t>(std::min<std::uint64_t>(range.size - done_, block_.size() - filled));
            file_.read(range.at + done_, std::span(block_).subspan(filled, wanted));
            filled += wanted;
            done_ += wanted;
            if (done_ == range.size) {
                ++index_;
                done_ = 0;
            }
        }
        return {block_.data(), filled};
    }

private:
    const SongFile& file_;
    const std::vector<Range>& ranges_;
    std::vector<char> block_;
    std::size_t index_ = 0;
    std::uint64_t done_ = 0;
};

} // namespace

SongFile::SongFile(const std::filesystem::path& path, Access access)
    : file_(::open(path.c_str(),
                   (access == Access::Read ? O_RDONLY : O_RDWR) | O_NONBLOCK | O_NOCTTY | O_CLOEXEC)) {
    struct stat status = {};
    if (!file_ || ::fstat(file_.get(), &status) != 0) fail("opened");
    if (!S_ISREG(status.st_mode)) throw util::Exception("This is not a regular file.");
    if (status.st_size <= 0) throw util::Exception("The song file is empty.");
    size_ = static_cast<std::uint64_t>(status.st_size);
}

/** @return how many bytes there were */
std::size_t SongFile::readUpTo(std::uint64_t at, std::span<char> target) const {
    std::size_t done = 0;
    while (done < target.size()) {
        const ssize_t count =
            ::pread(file_.get(), target.data() + done, target.size() - done, static_cast<off_t>(at + done));
        if (count == 0) break;
        if (count < 0 && errno != EINTR) fail("read");
        if (count > 0) done += static_cast<std::size_t>(count);
    }
    return done;
}

std::string SongFile::readSome(std::uint64_t at, std::size_t length) const {
    if (at >= size_) return {};
    std::string bytes(static_cast<std::size_t>(std::min<std::uint64_t>(length, size_ - at)), '\0');
    bytes.resize(readUpTo(at, bytes));
    return bytes;
}

std::string SongFile::read(std::uint64_t at, std::uint64_t length) const {
    if (length > maxTagBytes) throw util::Exception("The tags of the song file are too large.");
    std::string bytes = readSome(at, static_cast<std::size_t>(length));
    if (bytes.size() != length) throw util::Exception("The song file is truncated.");
    return bytes;
}

void SongFile::read(std::uint64_t at, std::span<char> target) const {
    if (readUpTo(at, target) != target.size()) throw util::Exception("The song file is truncated.");
}

void SongFile::write(std::uint64_t at, std::string_view bytes) const {
    while (!bytes.empty()) {
        const ssize_t count = ::pwrite(file_.get(), bytes.data(), bytes.size(), static_cast<off_t>(at));
        if (count < 0 && errno != EINTR) fail("written");
        if (count > 0) {
            bytes.remove_prefix(static_cast<std::size_t>(count));
            at += static_cast<std::uint64_t>(count);
        }
    }
}

/** Moves everything from `from` on, starting at the end that is not written over. */
void SongFile::move(std::uint64_t from, std::uint64_t to) const {
    const std::uint64_t length = size_ - from;
    std::vector<char> block(blockBytes);
    for (std::uint64_t done = 0; done < length;) {
        const std::uint64_t count = std::min<std::uint64_t>(block.size(), length - done);
        const std::uint64_t offset = to > from ? length - done - count : done;
        const std::span<char> bytes = std::span(block).first(static_cast<std::size_t>(count));
        read(from + offset, bytes);
        write(to + offset, {bytes.data(), bytes.size()});
        done += count;
    }
}

void SongFile::replace(std::uint64_t at, std::uint64_t length, std::string_view bytes) {
    if (length > size_ || at > size_ - length) throw util::Exception("The song file is truncated.");
    if (bytes.size() != length) move(at + length, at + bytes.size());
    write(at, bytes);
    const std::uint64_t newSize = size_ - length + bytes.size();
    if (newSize < size_ && ::ftruncate(file_.get(), static_cast<off_t>(newSize)) != 0) fail("written");
    size_ = newSize;
}

bool sameBytes(const SongFile& one, const std::vector<Range>& ofOne, const SongFile& other,
               const std::vector<Range>& ofOther) {
    RangeReader first(one, ofOne);
    RangeReader second(other, ofOther);
    while (true) {
        const std::span<const char> block = first.next();
        if (!std::ranges::equal(block, second.next())) return false;
        if (block.empty()) return true;
    }
}

} // namespace tags
