// SPDX-License-Identifier: MIT
#pragma once

#include "bridge/Mpd.h"
#include "bridge/Song.h"

#include <vector>

namespace bridge {

/**
 * Puts songs at the end of the queue, all of them or none.
 * @throws Failure when MPD refuses one, or goes away: then it has either none of them or, if it was lost
 * after it had begun, all
 */
void addToQueue(Mpd& mpd, const std::vector<Song>& songs);

} // namespace bridge
