// SPDX-License-Identifier: MIT
#pragma once

#include "bridge/Song.h"

#include <optional>
#include <string>
#include <vector>

namespace bridge {

/** Which of the albums of one name is meant. */
struct AlbumChoice {
    std::optional<std::string> artist;
    bool sampler = false;
};

/**
 * Out of all songs that name the album, those of the album that is meant, in playing order: by disc (none is
 * the first), number (none is the last) and file; one folder after another where a disc has a number twice.
 *
 * An album is the songs of one album artist or, where they name none, of one folder. For a sampler, and where
 * no artist is given, those with more than one artist are meant if there are any, and all if not; first of
 * all those in which the artist of a sampler's song has one. Otherwise
 * it is those of the artist, as whose counts the album artist or, without one, the artist of any song; if
 * there are none, those in which the artist has a song. Names are compared as text::folded() has them.
 */
[[nodiscard]] std::vector<Song> albumSongs(std::vector<Song> songs, const AlbumChoice& choice);

} // namespace bridge
