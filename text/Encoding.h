// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace text {

/**
 * Converts `bytes` to UTF-8. Bytes that are invalid in their encoding become a substitute character. Bytes
 * declared as UTF-8 that are not valid UTF-8 are read as Windows-1252.
 * @param encoding a name as used in XML and HTTP
 * @return nothing for an unknown encoding
 * @throws util::Exception when the text is too long
 */
[[nodiscard]] std::optional<std::string> decoded(std::string_view bytes, const std::string& encoding);

/** Whether every character takes at least two bytes in `encoding`. False for an unknown encoding. */
[[nodiscard]] bool isWide(const std::string& encoding);

/** The encoding of the byte order mark at the start of `bytes`; empty without a mark. */
[[nodiscard]] std::string markedEncoding(std::string_view bytes);

} // namespace text
