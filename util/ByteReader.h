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
 * Reads numbers out of bytes that came from outside: a read beyond their end throws util::Exception. It views
 * the bytes and the subject, which must live as long. Immutable.
 */
class ByteReader {
public:
    /** @param subject what is read, as the sentences of its failures name it: "JPEG image" */
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

    /** False also where fewer bytes are left than `text` has. */
    [[nodiscard]] bool matches(std::size_t at, std::string_view text) const noexcept {
        return has(at, text.size()) &&
               std::ranges::equal(bytes_.subspan(at, text.size()), text,
                                  [](std::byte byte, char c) { return static_cast<char>(byte) == c; });
    }

    [[nodiscard]] std::uint32_t byte(std::size_t at) const { return bigEndian(at, 1); }

    /** A number of at most four bytes. */
    [[nodiscard]] std::uint32_t bigEndian(std::size_t at, std::size_t length) const {
        std::uint32_t value = 0;
        const std::span<const std::byte> digits = part(at, length).bytes();
        for (const std::byte digit : digits)
            value = value << 8U | std::to_integer<std::uint32_t>(digit);
        return value;
    }

    /** A number of at most four bytes. */
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
