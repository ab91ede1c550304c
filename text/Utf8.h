// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace text {

/** A decoded character and its length in bytes; length 0 means no character. */
struct Character {
    char32_t code = 0;
    std::size_t length = 0;
};

/**
 * Decodes the first character of `bytes`. The length is 0 if they are empty or don't start with well-formed
 * UTF-8. Overlong forms, surrogates and codes above U+10FFFF are not well-formed.
 */
[[nodiscard]] Character firstCharacter(std::string_view bytes) noexcept;

/** Appends `code` as UTF-8. @param code must be a Unicode scalar value */
void appendCharacter(std::string& utf8, char32_t code);

[[nodiscard]] bool isUtf8(std::string_view bytes) noexcept;

/**
 * Returns valid UTF-8 unchanged. Reads anything else as Windows-1252, from the first byte to the last. The
 * five bytes that Windows-1252 leaves undefined become the C1 control with the same number.
 */
[[nodiscard]] std::string toUtf8(std::string_view bytes);

} // namespace text
