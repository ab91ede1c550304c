// SPDX-License-Identifier: MIT
#pragma once

#include "util/Exception.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace util {

/**
 * Reads numbers from untrusted bytes. A read beyond their end throws util::Exception. The reader only views
 * the bytes and the subject, so both must outlive it. Immutable.
 */
class ByteReader {
public:
    /** @param subject the name of the data in error sentences, for example "JPEG image" */
    ByteReader(std::span<const std::byte> bytes, std::string_view subject) noexcept
        : bytes_(bytes), subject_(subject) {}

    [[nodiscard]] std::span<const std::byte> bytes() const noexcept { return bytes_; }
    [[nodiscard]] std::size_t size() const noexcept { return bytes_.size(); }

    [[nodiscard]] bool has(std::size_t at, std::size_t length) const noexcept {
        return at <= bytes_.size() && length <= bytes_.size() - at;
    }

    [[nodiscard]] ByteReader part(std::size_t at, std::size_t length) const {
        if (!has(at, length)) truncated();
        return {bytes_.subspan(at, length), subject_};
    }

    /** False, too, if fewer bytes are left than `text` has. */
    [[nodiscard]] bool matches(std::size_t at, std::string_view text) const noexcept {
        return has(at, text.size()) &&
               std::ranges::equal(bytes_.subspan(at, text.size()), text,
                                  [](std::byte byte, char c) { return static_cast<char>(byte) == c; });
    }

    [[nodiscard]] std::uint32_t byte(std::size_t at) const { return bigEndian(at, 1); }

    /** @param length at most 4 */
    [[nodiscard]] std::uint32_t bigEndian(std::size_t at, std::size_t length) const {
        std::uint32_t value = 0;
        const std::span<const std::byte> digits = part(at, length).bytes();
        for (const std::byte digit : digits)
            value = value << 8U | std::to_integer<std::uint32_t>(digit);
        return value;
    }

    /** @param length at most 4 */
    [[nodiscard]] std::uint32_t littleEndian(std::size_t at, std::size_t length) const {
        std::uint32_t value = 0;
        for (std::size_t i = length; i-- > 0;)
            value = value << 8U | byte(at + i);
        return value;
    }

    [[noreturn]] void truncated() const { fail("is truncated"); }
    [[noreturn]] void damaged() const { fail("is damaged"); }
    [[noreturn]] void unsupported() const { fail("is of a kind that is not supported"); }

private:
    [[noreturn]] void fail(std::string_view predicate) const {
        throw Exception(std::string("The ").append(subject_).append(" ").append(predicate).append("."));
    }

    std::span<const std::byte> bytes_;
    std::string_view subject_;
};

} // namespace util
