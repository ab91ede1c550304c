// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

// The query language of search servers built on Lucene.

namespace sources::lucene {

/** `field:"text"`: finds the words of `text` next to each other. `text` must not be blank. */
[[nodiscard]] std::string phrase(std::string_view field, std::string_view text);

/** `text` as a bare word. Operators and special characters in it are escaped. */
[[nodiscard]] std::string word(std::string_view text);

/**
 * `field:(some~ AND of AND these~)`: finds all the words. Long words may be misspelt.
 * @param foldedText text::folded(), not empty
 */
[[nodiscard]] std::string similar(std::string_view field, std::string_view foldedText);

} // namespace sources::lucene
