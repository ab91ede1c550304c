// SPDX-License-Identifier: MIT
#pragma once

#include "store/CoverStore.h"

#include <string>
#include <vector>

// What the full-text index is made of: the folded words of a record, each with the letter of its field before
// it. So one list of entries is all that there is to read for a word, or for a beginning of one.
namespace store {

/** The words of the record, with blanks between them. */
[[nodiscard]] std::string searchWords(const Record& record);

/** For each field of `search` that has words: these words. An entry matches when it has all of them, the last
 * one of each field as a prefix. Stop words don't count. */
[[nodiscard]] std::vector<std::vector<std::string>> wantedWords(const Search& search);

} // namespace store
