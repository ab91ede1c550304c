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

/** What the tags of one file may take together: more is an attack, or an accident. */
inline constexpr std::uint64_t maxTagBytes = std::uint64_t{64} * 1024 * 1024;

/** How many parts (frames, fields, atoms ...) the tags of one file may have: more is an attack. */
inline constexpr std::size_t maxTagParts = 100'000;

/** @throws util::Exception for more than maxTagParts */
void checkCount(std::size_t parts);

struct Range {
    std::uint64_t at = 0;
    std::uint64_t size = 0;
};

/**
 * A song file, and what it is to become: parts of it can be replaced, which changes only the object, and the
 * result is written to another file in one go. One thread at a time; several may read at once while nothing
 * has been replaced.
 */
class SongFile {
public:
    /** @throws util::Exception when it can't be opened, is empty, or is no regular file */
    explicit SongFile(const std::filesystem::path& path);

    [[nodiscard]] std::uint64_t size() const noexcept { return size_; }

    /** Exactly these bytes. @throws util::Exception when the file ends before, or for more than maxTagBytes
     */
    [[nodiscard]] std::string read(std::uint64_t at, std::uint64_t length) const;

    /** Fills `target`. @throws util::Exception when the file ends before */
    void read(std::uint64_t at, std::span<char> target) const;

    /** As many of these bytes as there are. */
    [[nodiscard]] std::string readSome(std::uint64_t at, std::size_t length) const;

    /**
     * Puts `bytes` in the place of `length` bytes; what follows moves. Many of them are fast from the front
     * to the end.
     * @throws util::Exception when there are not so many, or after millions of these
     */
    void replace(std::uint64_t at, std::uint64_t length, std::string_view bytes);

    /**
     * Writes all of it to `target`, which is open, empty and another file.
     * @throws std::system_error when that fails, with what the system said, a full disk for one
     */
    void writeTo(const util::FileDescriptor& target) const;

private:
    /** A part that is still in the file, or has been put in its place. */
    struct Piece {
        std::uint64_t at = 0; // in the file, where it is still there
        std::uint64_t size = 0;
        std::string bytes; // as many as `size`, where it was replaced

        [[nodiscard]] bool inFile() const noexcept { return bytes.empty(); }
    };

    void seek(std::uint64_t at) const noexcept;
    std::size_t split(std::uint64_t at);
    std::size_t readUpTo(std::uint64_t at, std::span<char> target) const;

    util::FileDescriptor file_;
    std::uint64_t size_ = 0;
    std::vector<Piece> pieces_; // none is empty
    // The piece that was looked for last, as the next one is seldom far from it, and where it begins.
    mutable std::size_t index_ = 0;
    mutable std::uint64_t begin_ = 0;
};

/** True when the ranges, each file's put together, have the same bytes. */
[[nodiscard]] bool sameBytes(const SongFile& one, const std::vector<Range>& ofOne, const SongFile& other,
                             const std::vector<Range>& ofOther);

} // namespace tags
