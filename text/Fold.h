// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace text {

/**
 * Folds a name of an artist, album or title into the form in which names are compared: lower-case words with
 * one blank between them, in UTF-8 and NFC. Folding twice gives the same result as folding once. `text` may
 * be any bytes; toUtf8() decodes them.
 *
 * - Compatibility forms such as full width and ligatures are replaced by plain letters. Case is folded.
 * - Accents and other decorations are removed. Marks that make a different letter stay: Japanese voicing
 *   marks, the vowel signs of Indic scripts and Thai, and the marks of Cyrillic "й", "ў" and "ї". Letters
 *   without a Unicode decomposition, such as "ø", "ł", "æ" and "ı", become plain letters, too.
 * - Apostrophes of any shape are removed: "Don't" becomes "dont". The full stop between initials is removed,
 *   and so is a blank after it: "R.E.M." becomes "rem", "B. B." becomes "bb".
 * - "&" and "+" become the word "and". All other punctuation, symbols, controls and white space separate
 *   words.
 * - A name without letters and digits, such as "!!!" or "÷", keeps its symbols; only its blanks are tidied.
 *   So it doesn't become empty, and two such names stay different. Only white space gives an empty string.
 *
 * When these rules change, stored folded texts have to be folded again from their originals.
 *
 * @throws util::Exception when `text` is longer than 64 MiB
 */
[[nodiscard]] std::string folded(std::string_view text);

/** Splits a folded text at its blanks. */
[[nodiscard]] std::vector<std::string> words(std::string_view foldedText);

} // namespace text
