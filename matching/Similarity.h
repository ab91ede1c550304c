// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>

namespace matching {

/** similarity() of names that differ only in edition notes, guests and "the". */
inline constexpr double sameWithoutNotes = 0.96;

/**
 * How alike two names of artists, albums or titles are, from 0 to 1. Equal folded names give 1; names that
 * are equal without stop words give `sameWithoutNotes`; all others give less (see docs/matching.md). An empty
 * name gives 0, even with another empty one. Accepts any bytes. Compares only the beginning of long names.
 */
[[nodiscard]] double similarity(std::string_view one, std::string_view other);

} // namespace matching
