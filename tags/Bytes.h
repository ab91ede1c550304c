// SPDX-License-Identifier: MIT
#pragma once

#include "util/ByteReader.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace tags {

/** A reader over `bytes`, which it doesn't copy; see util::ByteReader. */
inline util::ByteReader readerOf(std::string_view bytes, std::string_view subject) noexcept {
    return {std::as_bytes(std::span(bytes)), subject};
}

inline std::string littleEndian(std::uint64_t value, std::size_t length) {
    std::string bytes;
    for (std::size_t i = 0; i < length; ++i, value >>= 8U)
        bytes.push_back(static_cast<char>(value & 0xFFU));
    return bytes;
}

inline std::string bigEndian(std::uint64_t value, std::size_t length) {
    const std::string reversed = littleEndian(value, length);
    return {reversed.rbegin(), reversed.rend()};
}

inline std::uint64_t bigEndian64(const util::ByteReader& in, std::size_t at) {
    return std::uint64_t{in.bigEndian(at, 4)} << 32U | in.bigEndian(at + 4, 4);
}

inline std::uint64_t littleEndian64(const util::ByteReader& in, std::size_t at) {
    return std::uint64_t{in.littleEndian(at + 4, 4)} << 32U | in.littleEndian(at, 4);
}

/** ASCII letters in upper case, to compare names of tags without case. */
inline std::string upperCase(std::string_view text) {
    std::string upper;
    for (const char c : text)
        upper.push_back(c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c);
    return upper;
}

} // namespace tags
