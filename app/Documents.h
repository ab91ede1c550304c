// SPDX-License-Identifier: MIT
#pragma once

#include "app/AlbumSongs.h"
#include "app/SongLookup.h"
#include "store/CoverStore.h"

#include <string>
#include <vector>

namespace app {

/** An entry of a query's answer with what is queued for it. */
struct ListedEntry {
    store::Entry entry;
    std::vector<store::Job> jobs;
};

// The library's XML documents: UTF-8, well-formed whatever the texts are (docs/xml has their schemas).
[[nodiscard]] std::string queryDocument(const std::vector<ListedEntry>& entries, std::int64_t total);
[[nodiscard]] std::string showEmptyDocument(const std::vector<store::Entry>& entries);
[[nodiscard]] std::string parametersDocument(const std::vector<store::Parameter>& parameters);
[[nodiscard]] std::string coverartDocument(const store::Record& song, const SongLookup& covers);
[[nodiscard]] std::string albumNamesDocument(const store::Record& song, const SongLookup& albums);
[[nodiscard]] std::string albumSongsDocument(const store::Record& song, const std::vector<DeviceSong>& songs);

} // namespace app
