// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

namespace util {

/**
 * `text` as it may stand in a diagnostic line: control characters, line separators, what turns the reading
 * direction, and bytes that are not UTF-8 become \xNN. A result of more than `maxBytes` is cut between two
 * characters and goes on with "...". So no form value can forge a line or drive a terminal.
 */
[[nodiscard]] std::string printable(std::string_view text, std::size_t maxBytes = 200);

/** Writes the program, ": " and the message, made printable, as one line to standard error, in one piece. */
void logLine(std::string_view message, std::string_view program = "sleevery.fcgi") noexcept;

} // namespace util
