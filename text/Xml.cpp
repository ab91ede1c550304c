// SPDX-License-Identifier: MIT
#include "text/Xml.h"

#include "text/Utf8.h"

namespace text {

namespace {

constexpr std::string_view replacement = "\xEF\xBF\xBD";

/** The escaped form of a character. @param asIs its unescaped UTF-8 bytes */
std::string_view escaped(char32_t code, std::string_view asIs) {
    switch (code) {
    case '&':
        return "&amp;";
    case '<':
        return "&lt;";
    case '>':
        return "&gt;";
    case '"':
        return "&quot;";
    case '\t':
        return "&#9;";
    case '\n':
        return "&#10;";
    case '\r':
        return "&#13;";
    default:
        const bool forbidden = code < 0x20 || code == 0xFFFE || code == 0xFFFF;
        return forbidden ? std::string_view() : asIs;
    }
}

} // namespace

std::string xmlEscaped(std::string_view utf8) {
    std::string result;
    result.reserve(utf8.size());
    while (!utf8.empty()) {
        const Character first = firstCharacter(utf8);
        result += first.length == 0 ? replacement : escaped(first.code, utf8.substr(0, first.length));
        utf8.remove_prefix(first.length == 0 ? 1 : first.length);
    }
    return result;
}

} // namespace text
