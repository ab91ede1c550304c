// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

namespace util {

/**
 * `text` made safe for a log line, so that a form value can't forge a line or control a terminal. Control
 * characters, line separators, characters that change the reading direction, and bytes that are not UTF-8
 * become \xNN. A result longer than `maxBytes` is cut between two characters, and "..." is appended.
 */
[[nodiscard]] std::string printable(std::string_view text, std::size_t maxBytes = 200);

/** Writes "program: message" as one line to standard error, in one write. The message is made printable(). */
void logLine(std::string_view message, std::string_view program = "sleevery.fcgi") noexcept;

} // namespace util
