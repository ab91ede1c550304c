// SPDX-License-Identifier: MIT
#include "bridge/AlbumList.h"

#include "bridge/Failure.h"
#include "text/Fold.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace bridge {

void AlbumListReader::take(std::string_view name, std::string_view value) {
    if (name == "AlbumArtist") artist_ = value;
    if (name != "Album" || value.empty()) return; // songs without an album are one of no name
    if (albums_.size() == maxAlbums)
        throw Failure(ErrorCode::away, "The music server knows more albums than can be listed.");
    albums_.push_back({artist_, std::string(value)});
}

std::vector<ListedAlbum> sortedAlbums(std::vector<ListedAlbum> albums,
                                      const std::optional<std::string>& artist) {
    struct Keyed {
        std::string artist;
        std::string name;
        ListedAlbum album;
    };
    std::vector<Keyed> keyed;
    for (ListedAlbum& album : albums) {
        std::string key = text::folded(album.artist);
        if (!artist || key == text::folded(*artist))
            keyed.push_back({std::move(key), text::folded(album.name), std::move(album)});
    }
    std::ranges::sort(keyed, {}, [](const Keyed& one) {
        return std::tie(one.artist, one.name, one.album.artist, one.album.name);
    });
    std::vector<ListedAlbum> sorted;
    sorted.reserve(keyed.size());
    for (Keyed& one : keyed)
        sorted.push_back(std::move(one.album));
    return sorted;
}

} // namespace bridge
