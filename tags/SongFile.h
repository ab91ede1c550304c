// SPDX-License-Identifier: MIT
#pragma once

#include "util/FileDescriptor.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tags {

/** The limit for all tags of one file, in bytes. More is an attack or an accident. */
inline constexpr std::uint64_t maxTagBytes = std::uint64_t{64} * 1024 * 1024;

/** The limit for the parts (frames, fields, atoms ...) of all tags of one file. More is an attack. */
inline constexpr std::size_t maxTagParts = 100'000;

/** @throws util::Exception for more than maxTagParts */
void checkCount(std::size_t parts);

struct Range {
    std::uint64_t at = 0;
    std::uint64_t size = 0;
};

/**
 * A song file and its pending changes. replace() changes only this object; writeTo() writes the result to
 * another file. One thread at a time; before the first replace() several threads may read.
 */
class SongFile {
public:
    /** @throws util::Exception when it can't be opened, is empty, or isn't a regular file */
    explicit SongFile(const std::filesystem::path& path);

    [[nodiscard]] std::uint64_t size() const noexcept { return size_; }

    /**
     * Exactly these bytes.
     * @throws util::Exception when the file ends earlier, or for more than maxTagBytes
     */
    [[nodiscard]] std::string read(std::uint64_t at, std::uint64_t length) const;

    /** Fills `target`. @throws util::Exception when the file ends earlier */
    void read(std::uint64_t at, std::span<char> target) const;

    /** These bytes, or fewer at the end of the file. */
    [[nodiscard]] std::string readSome(std::uint64_t at, std::size_t length) const;

    /**
     * Replaces `length` bytes at `at` by `bytes`; everything after them moves. Many replacements are fast if
     * made from front to back.
     * @throws util::Exception when the file ends earlier, or after millions of calls
     */
    void replace(std::uint64_t at, std::uint64_t length, std::string_view bytes);

    /**
     * Writes the result to `target`, which must be open, empty and another file.
     * @throws std::system_error when writing fails, such as on a full disk
     */
    void writeTo(const util::FileDescriptor& target) const;

private:
    /** A part of the result: a range of the file, or replaced bytes. */
    struct Piece {
        std::uint64_t at = 0; // in the file, if not replaced
        std::uint64_t size = 0;
        std::string bytes; // `size` bytes if replaced, else empty

        [[nodiscard]] bool inFile() const noexcept { return bytes.empty(); }
    };

    void seek(std::uint64_t at) const noexcept;
    std::size_t split(std::uint64_t at);
    std::size_t readUpTo(std::uint64_t at, std::span<char> target) const;

    util::FileDescriptor file_;
    std::uint64_t size_ = 0;
    std::vector<Piece> pieces_; // no piece is empty
    // The piece of the last read and where it begins: the next read is usually near it.
    mutable std::size_t index_ = 0;
    mutable std::uint64_t begin_ = 0;
};

/** Whether the ranges of both files contain the same bytes, each list joined in order. */
[[nodiscard]] bool sameBytes(const SongFile& one, const std::vector<Range>& ofOne, const SongFile& other,
                             const std::vector<Range>& ofOther);

} // namespace tags
