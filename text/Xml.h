// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

namespace text {

/**
 * `utf8` as it has to be written between the tags of an element or between the double quotes of an attribute
 * in a UTF-8 document, so that a parser hands back the same text from both. Tab, line feed and carriage
 * return are written as character references, because parsers change them in attributes (and the last one
 * everywhere). Characters that XML 1.0 forbids are dropped; each byte that is not UTF-8 becomes U+FFFD, so
 * that the loss is seen.
 */
[[nodiscard]] std::string xmlEscaped(std::string_view utf8);

} // namespace text
