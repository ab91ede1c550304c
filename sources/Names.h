// SPDX-License-Identifier: MIT
#pragma once

#include "matching/Question.h"

#include <string>
#include <vector>

namespace sources {

/** What to search for. The work is never blank; an empty artist matches any artist. */
struct Names {
    std::string artist;
    std::string work;

    bool operator==(const Names&) const = default;
};

/**
 * The album's names as they are, then without stop words if that makes a difference; empty without an album.
 * Leaves out the artist of a sampler's song: that artist says nothing about the album.
 */
[[nodiscard]] std::vector<Names> albumNames(const matching::Question& question);

/** The same for the title, but the artist stays, even for a sampler. */
[[nodiscard]] std::vector<Names> titleNames(const matching::Question& question);

/** Artist and work, separated by a blank. */
[[nodiscard]] std::string words(const Names& names);

} // namespace sources
