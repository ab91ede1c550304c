// SPDX-License-Identifier: MIT
#pragma once

#include "store/CoverStore.h"

#include <string>

// What the full-text index is made of: the folded words of a record, each with the letter of its field before
// it. So one list of entries is all that there is to read for a word, or for a beginning of one.
namespace store {

/** The words of the record, with blanks between them. */
[[nodiscard]] std::string searchWords(const Record& record);

/** The query of the full-text index for what `search` asks for; empty when that is nothing. */
[[nodiscard]] std::string matchExpression(const Search& search);

} // namespace store
