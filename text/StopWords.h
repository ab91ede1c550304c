// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

namespace text {

/**
 * Removes the parts of a name that only distinguish editions of the same work, in upper or lower case:
 *
 * - a group in (), [] or {} after the name that is an edition note or names a guest: "(2011 Remaster)",
 *   "[Disc 2]", "(ft. Ann)";
 * - an edition note after the last dash between blanks: " - Remastered 2009";
 * - a guest: "feat. ...", "featuring ..." or "ft. ..." up to the next bracket or the end. "feat" may lack its
 *   full stop. "ft." means feet after a number at the start of the name ("6 ft. Under"). None of the three
 *   words introduces a guest after "at", "from", "in", "near", "of", "the" or "to" ("Live at Ft. Rock");
 * - "disc 2", "disk two" or "cd2" at the end;
 * - "the" at the beginning, and ", the" at the end.
 *
 * Live, acoustic and instrumental versions, remixes, parts and volumes are different works, so their words
 * stay. Nothing before the name itself is removed, so that a name never becomes empty: "The The", "Disc 2"
 * and "(Remastered)" stay. The remaining bytes don't change, except blanks and separators around a removed
 * part. Takes time linear in the length.
 *
 * @throws util::Exception when a word is too long for folded()
 */
[[nodiscard]] std::string withoutStopWords(std::string_view text);

/**
 * The key for comparing names: `text` without stop words, folded. Two names are the same if their keys are
 * equal. `text` may be any bytes. The key is empty only if `text` is empty or white space.
 * @throws util::Exception as folded() does
 */
[[nodiscard]] std::string matchText(std::string_view text);

} // namespace text
