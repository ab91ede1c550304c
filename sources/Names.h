// SPDX-License-Identifier: MIT
#pragma once

#include "matching/Question.h"

#include <string>
#include <vector>

namespace sources {

/** What to look for: a work, never blank, and its artist, empty where it isn't to matter. */
struct Names {
    std::string artist;
    std::string work;

    bool operator==(const Names&) const = default;
};

/** The album's names as they are, then without stop words where that makes a difference; none where there is
 * no album. The artist of a sampler's song says nothing about the album, and is left out. */
[[nodiscard]] std::vector<Names> albumNames(const matching::Question& question);

/** The same for the title, always with the artist. */
[[nodiscard]] std::vector<Names> titleNames(const matching::Question& question);

/** Both as plain words. */
[[nodiscard]] std::string words(const Names& names);

} // namespace sources
