// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

namespace text {

/**
 * Escapes `utf8` for the content of an element or for a double-quoted attribute in a UTF-8 document. A parser
 * reads the same text back from both. Tab, line feed and carriage return become character references: parsers
 * change all three in attributes, and carriage returns everywhere. Characters that XML 1.0 forbids are
 * dropped. Each byte that is not UTF-8 becomes U+FFFD, so that the loss is visible.
 */
[[nodiscard]] std::string xmlEscaped(std::string_view utf8);

} // namespace text
