// SPDX-License-Identifier: MIT
#pragma once

#include "matching/Candidate.h"
#include "matching/Wanted.h"

#include <optional>

namespace matching {

/** How the names agree, each from 0 to 1; what one of the two doesn't have is missing. */
struct Agreement {
    std::optional<double> artist;
    std::optional<double> album;
    std::optional<double> title;
    double total = 0; // of them all, with what is missing counted; docs/matching.md tells how
    bool byTrackArtist = false;
    bool inOtherScript = false;
};

[[nodiscard]] Agreement compare(const Wanted& wanted, const Candidate& candidate);

} // namespace matching
