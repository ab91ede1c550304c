// SPDX-License-Identifier: MIT
#pragma once

#include "app/OpenStore.h"
#include "matching/RankedList.h"
#include "store/CoverStore.h"

#include <vector>

namespace app {

/**
 * Covers for a song that need no web: in its own file and beside it (below `musicFolder`), those that its
 * entry has and had, and those of other entries that fit. Their URLs are "cover:" and a hash; a picture that
 * is in no store yet is offered to it.
 * @throws util::Exception when the store fails; a file that can't be read has no picture
 */
[[nodiscard]] std::vector<matching::Ranked> coversAtHand(OpenStore& open, const store::Record& song);

/** Albums of the store's entries that the song may come from. @throws util::Exception */
[[nodiscard]] std::vector<matching::Ranked> albumsAtHand(OpenStore& open, const store::Record& song);

/** What is sought for a song. */
[[nodiscard]] matching::Question questionOf(const store::Record& song);

} // namespace app
