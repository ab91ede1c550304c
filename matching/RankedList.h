// SPDX-License-Identifier: MIT
#pragma once

#include "matching/Candidate.h"
#include "matching/Ranking.h"

#include <cstddef>
#include <vector>

namespace matching {

/** The greatest length of a list. */
inline constexpr std::size_t maxRanked = 30;

/**
 * The fitting candidates with a picture, merged with `more`; best first, each picture once. Entries of `more`
 * are already judged and stay, however low their score.
 */
[[nodiscard]] std::vector<Ranked> rankedPictures(Judge& judge, std::vector<Candidate> candidates,
                                                 std::vector<Ranked> more);

/** The fitting albums; best first. Albums of the same name and artist are one entry. */
[[nodiscard]] std::vector<Ranked> rankedAlbums(Judge& judge, std::vector<Candidate> candidates,
                                               std::vector<Ranked> more);

} // namespace matching
