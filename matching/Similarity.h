// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>

namespace matching {

/** What similarity() gives for names that are the same but for edition notes, guests and "the". */
inline constexpr double sameWithoutNotes = 0.96;

/**
 * How alike two names of artists, albums or titles are, from 0 to 1: 1 for names that are equal in their
 * folded form, `sameWithoutNotes` where they are once stop words are gone, and less for all others;
 * docs/matching.md says how much. A name that is empty is like no other, not even like another empty one. Any
 * bytes will do; of a long name only the beginning is compared.
 */
[[nodiscard]] double similarity(std::string_view one, std::string_view other);

} // namespace matching
