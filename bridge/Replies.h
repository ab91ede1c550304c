// SPDX-License-Identifier: MIT
#pragma once

#include "bridge/AlbumList.h"
#include "bridge/Failure.h"
#include "bridge/PlayerState.h"
#include "bridge/Song.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace bridge {

// The documents that commands are answered with: UTF-8, whatever bytes MPD sent. docs/xml/Appliance.rng
// describes them.

[[nodiscard]] std::string playerStateReply(const PlayerState& state);

/** @param element what the document is called: "CurrentSong" or "AlbumSongs" */
[[nodiscard]] std::string songsReply(std::string_view element, const std::vector<Song>& songs);

[[nodiscard]] std::string addedSongsReply(std::size_t count);
[[nodiscard]] std::string albumsReply(const std::vector<ListedAlbum>& albums);
[[nodiscard]] std::string errorReply(ErrorCode code, std::string_view sentence);

} // namespace bridge
