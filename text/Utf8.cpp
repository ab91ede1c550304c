// SPDX-License-Identifier: MIT
#include "text/Utf8.h"

#include <array>
#include <cstdint>
#include <cstring>

namespace text {

namespace {

/** Windows-1252's characters 0x80 to 0x9F. Every other byte has the same number in Unicode. */
constexpr std::array<char16_t, 32> windows1252{
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

std::size_t lengthFromLead(unsigned char lead) noexcept {
    if (lead < 0x80) return 1;
    if (lead < 0xC2) return 0; // a continuation byte, or the start of an overlong form
    if (lead < 0xE0) return 2;
    if (lead < 0xF0) return 3;
    return lead < 0xF5 ? 4 : 0;
}

bool startsWithEightAscii(std::string_view bytes) noexcept {
    std::uint64_t eight = 0;
    if (bytes.size() < sizeof eight) return false;
    std::memcpy(&eight, bytes.data(), sizeof eight);
    return (eight & 0x8080808080808080U) == 0;
}

} // namespace

Character firstCharacter(std::string_view bytes) noexcept {
    if (bytes.empty()) return {};
    const auto lead = static_cast<unsigned char>(bytes[0]);
    const std::size_t length = lengthFromLead(lead);
    if (length == 1) return {lead, 1};
    if (length == 0 || bytes.size() < length) return {};
    char32_t code = lead & (0x7FU >> length);
    for (const char byte : bytes.substr(1, length - 1)) {
        const auto continuation = static_cast<unsigned char>(byte);
        if ((continuation & 0xC0U) != 0x80U) return {};
        code = code << 6U | (continuation & 0x3FU);
    }
    constexpr std::array<char32_t, 5> smallest{0, 0, 0x80, 0x800, 0x10000};
    const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
    if (code < smallest.at(length) || code > 0x10FFFF || surrogate) return {};
    return {code, length};
}

void appendCharacter(std::string& utf8, char32_t code) {
    const auto continuation = [code](unsigned shift) {
        return static_cast<char>(0x80U | (code >> shift & 0x3FU));
    };
    if (code < 0x80) {
        utf8 += static_cast<char>(code);
    } else if (code < 0x800) {
        utf8 += {static_cast<char>(0xC0U | code >> 6U), continuation(0)};
    } else if (code < 0x10000) {
        utf8 += {static_cast<char>(0xE0U | code >> 12U), continuation(6), continuation(0)};
    } else {
        utf8 += {static_cast<char>(0xF0U | code >> 18U), continuation(12), continuation(6), continuation(0)};
    }
}

bool isUtf8(std::string_view bytes) noexcept {
    while (!bytes.empty()) {
        const std::size_t length = startsWithEightAscii(bytes) ? 8 : firstCharacter(bytes).length;
        if (length == 0) return false;
        bytes.remove_prefix(length);
    }
    return true;
}

std::string toUtf8(std::string_view bytes) {
    if (isUtf8(bytes)) return std::string(bytes);
    std::string result;
    result.reserve(bytes.size() + bytes.size() / 2);
    for (const char byte : bytes) {
        const auto code = static_cast<unsigned char>(byte);
        const bool mapped = code >= 0x80 && code < 0xA0;
        appendCharacter(result, mapped ? windows1252.at(code - 0x80U) : code);
    }
    return result;
}

} // namespace text
