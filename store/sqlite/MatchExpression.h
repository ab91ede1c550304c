// SPDX-License-Identifier: MIT
#pragma once

#include "store/CoverStore.h"

#include <string>

namespace store::sqlite {

/** The FTS5 query for what `search` asks for; empty when it asks for nothing. */
[[nodiscard]] std::string matchExpression(const Search& search);

} // namespace store::sqlite
