// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace text {

/** A decoded character and the bytes it took; a length of 0 means that there was none. */
struct Character {
    char32_t code = 0;
    std::size_t length = 0;
};

/**
 * The character that `bytes` begins with. Length 0 where they are empty or don't begin with well-formed
 * UTF-8: overlong forms, surrogates and what lies above U+10FFFF are not.
 */
[[nodiscard]] Character firstCharacter(std::string_view bytes) noexcept;

/** Appends `code`, which has to be a Unicode scalar value, as UTF-8. */
void appendCharacter(std::string& utf8, char32_t code);

[[nodiscard]] bool isUtf8(std::string_view bytes) noexcept;

/**
 * Valid UTF-8 as it is; anything else read as Windows-1252 from the first byte to the last. The five bytes
 * that Windows-1252 leaves undefined become the C1 control of the same number.
 */
[[nodiscard]] std::string toUtf8(std::string_view bytes);

} // namespace text
