// SPDX-License-Identifier: MIT
#pragma once

#include "matching/Candidate.h"
#include "matching/Wanted.h"

#include <optional>

namespace matching {

/** How well the names agree: each value is from 0 to 1. A value is missing if one side has no such name. */
struct Agreement {
    std::optional<double> artist;
    std::optional<double> album;
    std::optional<double> title;
    double total = 0; // of all names, with a factor for each missing one; see docs/matching.md
    bool byTrackArtist = false;
    bool inOtherScript = false;
};

[[nodiscard]] Agreement compare(const Wanted& wanted, const Candidate& candidate);

} // namespace matching
