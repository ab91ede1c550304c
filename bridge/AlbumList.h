// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace bridge {

/** An album in a list of all. Texts are in whatever bytes MPD sent. */
struct ListedAlbum {
    std::string artist; // empty where there is none
    std::string name;
};

/** Puts a list together from MPD's answer, in which the albums stand behind their artist. */
class AlbumListReader {
public:
    static constexpr std::size_t maxAlbums = 100'000;

    /** @throws Failure beyond maxAlbums */
    void take(std::string_view name, std::string_view value);

    [[nodiscard]] std::vector<ListedAlbum> albums() && { return std::move(albums_); }

private:
    std::string artist_;
    std::vector<ListedAlbum> albums_;
};

/** In the order of artist and name, and only those of the artist if one is given. Names are compared as
 * text::folded() has them. */
[[nodiscard]] std::vector<ListedAlbum> sortedAlbums(std::vector<ListedAlbum> albums,
                                                    const std::optional<std::string>& artist);

} // namespace bridge
