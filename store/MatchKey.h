// SPDX-License-Identifier: MIT
#pragma once

#include "store/CoverStore.h"

#include <string>

namespace store {

/** Under what an entry is found again; empty where the record lacks the parts of the key. */
struct MatchKeys {
    std::string album; // artist and album, or the album alone for a sampler
    std::string title; // artist and title
};

/** Keys are made from folded texts, so that spelling, accents and edition words don't matter. */
[[nodiscard]] MatchKeys matchKeys(const Record& record);

} // namespace store
