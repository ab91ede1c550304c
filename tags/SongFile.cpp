// SPDX-License-Identifier: MIT
#include "tags/SongFile.h"

#include "util/Exception.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <future>
#include <system_error>
#include <utility>

namespace tags {
namespace {

constexpr std::size_t blockBytes = std::size_t{256} * 1024;

/** An Ogg file of many hours needs a million. More would be an attempt to exhaust the memory. */
constexpr std::size_t maxPieces = 2'000'000;

[[noreturn]] void fail(std::string_view what) {
    throw util::Exception(
        fmt::format("The song file can't be {}: {}.", what, std::generic_category().message(errno)));
}

/** Reads the ranges as one sequence of bytes, block by block. */
class RangeReader {
public:
    RangeReader(const SongFile& file, std::vector<Range> ranges)
        : file_(file), ranges_(std::move(ranges)), block_(blockBytes) {}

    /** The next block, empty at the end. Valid until the next call. */
    std::string_view next() {
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
    std::vector<Range> ranges_;
    std::vector<char> block_;
    std::size_t index_ = 0;
    std::uint64_t done_ = 0;
};

std::uint64_t sizeOf(const std::vector<Range>& ranges) {
    std::uint64_t size = 0;
    for (const Range& range : ranges)
        size += range.size;
    return size;
}

/** The bytes from `from` to `to`, counted over the joined ranges. */
std::vector<Range> part(const std::vector<Range>& ranges, std::uint64_t from, std::uint64_t to) {
    std::vector<Range> parts;
    std::uint64_t begin = 0;
    for (const Range& range : ranges) {
        const std::uint64_t first = std::clamp(from, begin, begin + range.size);
        const std::uint64_t last = std::clamp(to, begin, begin + range.size);
        if (first < last) parts.push_back({range.at + (first - begin), last - first});
        begin += range.size;
    }
    return parts;
}

bool sameBytes(RangeReader one, RangeReader other) {
    while (true) {
        const std::string_view block = one.next();
        if (block != other.next()) return false;
        if (block.empty()) return true;
    }
}

[[noreturn]] void failWriting() { throw std::system_error(errno, std::generic_category()); }

/** @return the number of bytes read; fewer than wanted only at the end of the file */
std::size_t readUpTo(const util::FileDescriptor& file, std::uint64_t at, std::span<char> target) {
    std::size_t done = 0;
    while (done < target.size()) {
        const ssize_t count =
            ::pread(file.get(), target.data() + done, target.size() - done, static_cast<off_t>(at + done));
        if (count == 0) break;
        if (count < 0 && errno != EINTR) fail("read");
        if (count > 0) done += static_cast<std::size_t>(count);
    }
    return done;
}

/** The file to write. Writing to disk starts early, so that the final flush is short. */
class Target {
public:
    explicit Target(const util::FileDescriptor& file) noexcept : file_(file) {}

    void append(std::string_view bytes) {
        while (!bytes.empty()) {
            const ssize_t count = ::write(file_.get(), bytes.data(), bytes.size());
            if (count < 0 && errno != EINTR) failWriting();
            if (count > 0) {
                bytes.remove_prefix(static_cast<std::size_t>(count));
                advance(count);
            }
        }
    }

    void append(const util::FileDescriptor& from, Range range) {
        if (copyInKernel(from, range)) return;
        std::vector<char> block(blockBytes);
        while (range.size > 0) {
            const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(block.size(), range.size));
            const std::span<char> bytes = std::span(block).first(wanted);
            if (readUpTo(from, range.at, bytes) != wanted)
                throw util::Exception("The song file is truncated.");
            append({bytes.data(), bytes.size()});
            range.at += wanted;
            range.size -= wanted;
        }
    }

private:
    /**
     * Copies inside the kernel; some file systems share the blocks instead.
     * @return false if the system can't do that here
     */
    bool copyInKernel(const util::FileDescriptor& from, Range& range) {
        while (range.size > 0) {
            auto offset = static_cast<off_t>(range.at);
            const auto wanted = std::min<std::uint64_t>(range.size, flushBytes);
            const ssize_t count = ::copy_file_range(from.get(), &offset, file_.get(), nullptr, wanted, 0);
            if (count < 0 && errno == EINTR) continue;
            if (count < 0 && (errno == EXDEV || errno == EINVAL || errno == ENOSYS || errno == EOPNOTSUPP))
                return false;
            if (count < 0) failWriting();
            if (count == 0) return false; // how some file systems refuse
            range.at += static_cast<std::uint64_t>(count);
            range.size -= static_cast<std::uint64_t>(count);
            advance(count);
        }
        return true;
    }

    void advance(ssize_t count) noexcept {
        written_ += count;
        if (static_cast<std::size_t>(written_ - flushing_) < flushBytes) return;
        ::sync_file_range(file_.get(), flushing_, written_ - flushing_, SYNC_FILE_RANGE_WRITE);
        flushing_ = written_;
    }

    static constexpr std::size_t flushBytes = std::size_t{8} * 1024 * 1024;

    const util::FileDescriptor& file_;
    off_t written_ = 0;
    off_t flushing_ = 0;
};

} // namespace

SongFile::SongFile(const std::filesystem::path& path)
    : file_(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC)) {
    struct stat status = {};
    if (!file_ || ::fstat(file_.get(), &status) != 0) fail("opened");
    if (!S_ISREG(status.st_mode)) throw util::Exception("This is not a regular file.");
    if (status.st_size <= 0) throw util::Exception("The song file is empty.");
    size_ = static_cast<std::uint64_t>(status.st_size);
    pieces_.push_back({.at = 0, .size = size_, .bytes = {}});
}

/** Moves to the piece with the byte `at`; at the end of the result to no piece. */
void SongFile::seek(std::uint64_t at) const noexcept {
    if (at < begin_) {
        index_ = 0;
        begin_ = 0;
    }
    for (; index_ < pieces_.size() && at - begin_ >= pieces_[index_].size; ++index_)
        begin_ += pieces_[index_].size;
}

/** @return the number of bytes read; fewer than wanted only at the end */
std::size_t SongFile::readUpTo(std::uint64_t at, std::span<char> target) const {
    if (pieces_.size() == 1 && pieces_.front().inFile()) { // doesn't move index_, so any thread may read
        const std::uint64_t left = size_ - std::min(at, size_);
        const auto length = static_cast<std::size_t>(std::min<std::uint64_t>(target.size(), left));
        return tags::readUpTo(file_, pieces_.front().at + at, target.first(length));
    }
    std::size_t done = 0;
    for (seek(at); done < target.size() && index_ < pieces_.size(); seek(at + done)) {
        const Piece& piece = pieces_[index_];
        const std::uint64_t within = at + done - begin_;
        const auto wanted =
            static_cast<std::size_t>(std::min<std::uint64_t>(piece.size - within, target.size() - done));
        if (piece.inFile()) {
            const std::size_t count = tags::readUpTo(file_, piece.at + within, target.subspan(done, wanted));
            done += count;
            if (count < wanted) break;
        } else {
            done += piece.bytes.copy(target.data() + done, wanted, static_cast<std::size_t>(within));
        }
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

/** Makes a piece begin at `at`. @return its index */
std::size_t SongFile::split(std::uint64_t at) {
    seek(at);
    if (index_ == pieces_.size() || at == begin_) return index_;
    Piece& piece = pieces_[index_];
    const std::uint64_t length = at - begin_;
    Piece rest{.at = piece.at + length, .size = piece.size - length, .bytes = {}};
    if (!piece.inFile()) {
        rest.bytes = piece.bytes.substr(static_cast<std::size_t>(length));
        piece.bytes.resize(static_cast<std::size_t>(length));
    }
    piece.size = length;
    pieces_.insert(pieces_.begin() + static_cast<std::ptrdiff_t>(index_) + 1, std::move(rest));
    return index_ + 1;
}

void SongFile::replace(std::uint64_t at, std::uint64_t length, std::string_view bytes) {
    if (length > size_ || at > size_ - length) throw util::Exception("The song file is truncated.");
    if (pieces_.size() >= maxPieces) throw util::Exception("The song file has too many parts.");
    const std::size_t last = split(at + length);
    const std::size_t before = pieces_.size();
    const std::size_t first = split(at);
    const auto end = pieces_.begin() + static_cast<std::ptrdiff_t>(last + (pieces_.size() - before));
    const auto next = pieces_.erase(pieces_.begin() + static_cast<std::ptrdiff_t>(first), end);
    if (!bytes.empty())
        pieces_.insert(next, Piece{.at = 0, .size = bytes.size(), .bytes = std::string(bytes)});
    size_ = size_ - length + bytes.size();
    index_ = first;
    begin_ = at;
}

void SongFile::writeTo(const util::FileDescriptor& target) const {
    Target to(target);
    for (const Piece& piece : pieces_) {
        if (piece.inFile())
            to.append(file_, {piece.at, piece.size});
        else
            to.append(piece.bytes);
    }
}

void checkCount(std::size_t parts) {
    if (parts > maxTagParts) throw util::Exception("The song file has too many tags.");
}

bool sameBytes(const SongFile& one, const std::vector<Range>& ofOne, const SongFile& other,
               const std::vector<Range>& ofOther) {
    const std::uint64_t size = sizeOf(ofOne);
    if (size != sizeOf(ofOther)) return false;
    const auto same = [&](std::uint64_t from, std::uint64_t to) {
        return sameBytes(RangeReader(one, part(ofOne, from, to)),
                         RangeReader(other, part(ofOther, from, to)));
    };
    // Most of the time is spent in the kernel, copying from the page cache. Two threads halve it.
    auto secondHalf = std::async(std::launch::async, same, size / 2, size);
    const bool firstHalf = same(0, size / 2);
    return secondHalf.get() && firstHalf;
}

} // namespace tags
