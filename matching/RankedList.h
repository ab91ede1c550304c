// SPDX-License-Identifier: MIT
#pragma once

#include "matching/Candidate.h"
#include "matching/Ranking.h"

#include <cstddef>
#include <vector>

namespace matching {

/** How many entries a list has at most. */
inline constexpr std::size_t maxRanked = 30;

/**
 * The candidates that have a picture and fit, together with `more`, which are judged already; the best first,
 * and each picture once.
 */
[[nodiscard]] std::vector<Ranked> rankedPictures(Judge& judge, std::vector<Candidate> candidates,
                                                 std::vector<Ranked> more);

/** The albums that fit, the best first, and each name of the same artist once. */
[[nodiscard]] std::vector<Ranked> rankedAlbums(Judge& judge, std::vector<Candidate> candidates,
                                               std::vector<Ranked> more);

} // namespace matching
