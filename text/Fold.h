// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace text {

/**
 * The form in which names of artists, albums and titles are compared: words in small letters with one blank
 * between them, in UTF-8 and NFC. Folding what is folded changes nothing. `text` may be any bytes (toUtf8()
 * reads them).
 *
 * - Compatibility forms (full width, ligatures) are resolved, case is folded, and marks that decorate a
 *   letter go. What only looks like a mark stays: Japanese voicing marks, the vowels of Indic scripts and
 *   Thai, the signs of Cyrillic "й", "ў", "ї". Letters that Unicode doesn't take apart but people do ("ø",
 *   "ł", "æ", "ı") lose their decoration, too.
 * - Apostrophes of any shape vanish ("Don't" is "Dont"); so does the full stop between initials, with or
 *   without a blank after it ("R.E.M." is "REM", "B. B." is "BB").
 * - "&" and "+" are the word "and". All other punctuation, symbols, controls and white space separate words.
 * - A name without any letter or digit ("!!!", "÷") keeps its symbols, and only its blanks are tidied; so it
 *   isn't empty, and two of them stay different. Nothing but white space gives an empty string.
 *
 * What is stored in this form has to be folded anew when the rules here change.
 *
 * @throws util::Exception for a text over 64 MiB
 */
[[nodiscard]] std::string folded(std::string_view text);

/** The words of a folded text, that is, what stands between its blanks. */
[[nodiscard]] std::vector<std::string> words(std::string_view foldedText);

} // namespace text
