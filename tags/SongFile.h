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

struct Range {
    std::uint64_t at = 0;
    std::uint64_t size = 0;
};

/**
 * An open song file. Every failure of the system is reported when it happens, unlike with stdio, where a full
 * disk shows itself when it is too late. One thread at a time.
 */
class SongFile {
public:
    enum class Access { Read, Change };

    /** @throws util::Exception when it can't be opened, is empty, or is no regular file */
    explicit SongFile(const std::filesystem::path& path, Access access = Access::Read);

    [[nodiscard]] std::uint64_t size() const noexcept { return size_; }

    /** Exactly these bytes. @throws util::Exception when the file ends before, or for more than maxTagBytes
     */
    [[nodiscard]] std::string read(std::uint64_t at, std::uint64_t length) const;

    /** Fills `target`. @throws util::Exception when the file ends before */
    void read(std::uint64_t at, std::span<char> target) const;

    /** As many of these bytes as there are. */
    [[nodiscard]] std::string readSome(std::uint64_t at, std::size_t length) const;

    /**
     * Puts `bytes` in the place of `length` bytes; what follows moves.
     * @throws util::Exception when that fails, and the file is damaged then
     */
    void replace(std::uint64_t at, std::uint64_t length, std::string_view bytes);

private:
    std::size_t readUpTo(std::uint64_t at, std::span<char> target) const;
    void write(std::uint64_t at, std::string_view bytes) const;
    void move(std::uint64_t from, std::uint64_t to) const;

    util::FileDescriptor file_;
    std::uint64_t size_ = 0;
};

/** True when the ranges, each file's put together, have the same bytes. */
[[nodiscard]] bool sameBytes(const SongFile& one, const std::vector<Range>& ofOne, const SongFile& other,
                             const std::vector<Range>& ofOther);

} // namespace tags
