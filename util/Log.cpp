// SPDX-License-Identifier: MIT
#include "util/Log.h"

#include <array>
#include <cstdint>
#include <iostream>

namespace util {
namespace {

constexpr std::size_t maxLineBytes = 2000;

/** The first character of a text. */
struct Character {
    char32_t code;
    std::size_t length; // in bytes; 0 if they are not valid UTF-8
};

/** One kind of UTF-8 sequence, recognised by its first byte. */
struct SequenceKind {
    unsigned char mask;
    unsigned char lead;
    std::size_t length;
    char32_t least; // a smaller code would be an overlong form
};

constexpr std::array<SequenceKind, 4> sequenceKinds{
    {{0x80, 0x00, 1, 0}, {0xE0, 0xC0, 2, 0x80}, {0xF0, 0xE0, 3, 0x800}, {0xF8, 0xF0, 4, 0x10000}}};

Character firstCharacter(std::string_view text) {
    const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(text[at]); };
    for (const SequenceKind& kind : sequenceKinds) {
        if ((byte(0) & kind.mask) != kind.lead) continue;
        if (text.size() < kind.length) break;
        char32_t code = byte(0) & static_cast<unsigned char>(~kind.mask);
        for (std::size_t i = 1; i < kind.length; ++i) {
            if ((byte(i) & 0xC0U) != 0x80U) return {0, 0};
            code = code << 6U | (byte(i) & 0x3FU);
        }
        const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
        if (code < kind.least || code > 0x10FFFF || surrogate) break;
        return {code, kind.length};
    }
    return {0, 0};
}

/** Whether a terminal acts on the character: controls, line ends and changes of the reading direction. */
bool isControl(char32_t code) {
    return code < 0x20 || (code >= 0x7F && code <= 0x9F) || code == 0x2028 || code == 0x2029 ||
           (code >= 0x202A && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
}

std::string escaped(std::string_view bytes) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string result;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        result.append("\\x").append(1, digits[byte >> 4U]).append(1, digits[byte & 0x0FU]);
    }
    return result;
}

} // namespace

std::string printable(std::string_view text, std::size_t maxBytes) {
    std::string result;
    while (!text.empty()) {
        const Character character = firstCharacter(text);
        const std::string_view bytes = text.substr(0, character.length == 0 ? 1 : character.length);
        const bool escape = character.length == 0 || isControl(character.code);
        const std::string shown = escape ? escaped(bytes) : std::string(bytes);
        if (result.size() + shown.size() > maxBytes) return result.append("...");
        result.append(shown);
        text.remove_prefix(bytes.size());
    }
    return result;
}

void logLine(std::string_view message, std::string_view program) noexcept {
    try {
        const std::string line = std::string(program) + ": " + printable(message, maxLineBytes) + "\n";
        std::cerr.write(line.data(), static_cast<std::streamsize>(line.size())).flush();
    } catch (...) { // no other place to report to
        return;
    }
}

} // namespace util
