// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace text {

/**
 * `bytes`, which are in the encoding that XML and HTTP call `encoding`, in UTF-8. What is no text in it
 * becomes a substitute character; what only claims to be UTF-8 is read as Windows-1252.
 * @return nothing when there is no encoding of that name
 */
[[nodiscard]] std::optional<std::string> decoded(std::string_view bytes, const std::string& encoding);

/** Whether every character takes two bytes at least in the encoding of that name. */
[[nodiscard]] bool isWide(const std::string& encoding);

/** The encoding that a byte order mark at the start tells; empty where there is none. */
[[nodiscard]] std::string markedEncoding(std::string_view bytes);

} // namespace text
