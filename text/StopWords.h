// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

namespace text {

/**
 * `text` without what tells editions apart but not songs, in any case:
 *
 * - a group in (), [] or {} behind the name that is an edition note or names a guest: "(2011 Remaster)",
 *   "[Disc 2]", "(ft. Ann)";
 * - an edition note behind a last dash between blanks: " - Remastered 2009";
 * - a guest: "feat. ...", "featuring ..." or "ft. ..." up to the next bracket or the end. "feat" may lack its
 *   full stop. "ft." behind a number that begins the name means feet; none of the three announces a guest
 *   behind "at", "from", "in", "near", "of", "the" or "to" ("Live at Ft. Rock");
 * - "disc 2", "disk two", "cd2" at the end;
 * - "the" at the beginning, and ", the" at the end.
 *
 * Live, acoustic and instrumental versions, remixes, parts and volumes are different works and stay. Nothing
 * goes that stands before the name itself, so that no name is used up: "The The", "Disc 2" and "(Remastered)"
 * stay. The rest is what it was, byte by byte, but for the blanks and dashes where something went. Takes time
 * linear in the length.
 *
 * @throws util::Exception for a word that is too long for folded()
 */
[[nodiscard]] std::string withoutStopWords(std::string_view text);

/**
 * The form under which two names are the same: without stop words, folded. Any bytes will do. Empty only for
 * a text of nothing but white space. @throws util::Exception as folded() does
 */
[[nodiscard]] std::string matchText(std::string_view text);

} // namespace text
