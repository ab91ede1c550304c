// SPDX-License-Identifier: MIT
#pragma once

#include "matching/RankedList.h"
#include "sources/Lookup.h"
#include "store/CoverStore.h"

#include <string>
#include <string_view>
#include <vector>

namespace app {

/** What was found for a song, the best first, and what became of the web sources. */
struct SongLookup {
    std::vector<matching::Ranked> found;
    std::vector<sources::SourceReport> reports;
};

// They need the open store. Each throws util::Exception when it fails; a web source that fails doesn't.

/** Covers for the song, at hand and on the web. */
[[nodiscard]] SongLookup findCovers(const store::Record& song);

/** Albums that the song may come from: its own album name is not looked at. None for a song without a
 * title. */
[[nodiscard]] SongLookup findAlbums(const store::Record& song);

/** As the two above, but only the web, and only these sources of it. */
[[nodiscard]] SongLookup findCoversOnWeb(const store::Record& song, std::string_view sourceNames);
[[nodiscard]] SongLookup findAlbumsOnWeb(const store::Record& song, std::string_view sourceNames);

/** The address of a product search for the song's album in the Amazon XML format, signed for now. */
[[nodiscard]] std::string amazonSearchUrl(const store::Record& song, int page);

} // namespace app
