// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

// The query language of search servers built on Lucene.

namespace sources::lucene {

/** `field:"text"`: the words of `text`, which mustn't be blank, one behind the other. */
[[nodiscard]] std::string phrase(std::string_view field, std::string_view text);

/** `text` as a bare word, with nothing in it that means something to the server. */
[[nodiscard]] std::string word(std::string_view text);

/**
 * `field:(some~ AND of AND these~)`: all of them, and those that are long enough also misspelt.
 * @param foldedText text::folded(), not empty
 */
[[nodiscard]] std::string similar(std::string_view field, std::string_view foldedText);

} // namespace sources::lucene
