// SPDX-License-Identifier: MIT
#include "bridge/AlbumList.h"

#include "bridge/Failure.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace {

using bridge::AlbumListReader;
using bridge::ListedAlbum;
using bridge::sortedAlbums;

using Names = std::vector<std::string>;

Names names(const std::vector<ListedAlbum>& albums) {
    Names result;
    for (const ListedAlbum& album : albums)
        result.push_back(album.artist + "/" + album.name);
    return result;
}

TEST(AlbumList, GivesEachAlbumTheArtistBeforeIt) {
    AlbumListReader reader;
    reader.take("AlbumArtist", "");
    reader.take("Album", "Lost");
    reader.take("AlbumArtist", "Ann");
    reader.take("Album", "");
    reader.take("Album", "One");
    reader.take("Genre", "x");
    reader.take("Album", "Two");
    EXPECT_EQ(names(std::move(reader).albums()), (Names{"/Lost", "Ann/One", "Ann/Two"}));
}

TEST(AlbumList, EndsSomewhere) {
    AlbumListReader reader;
    for (std::size_t i = 0; i < AlbumListReader::maxAlbums; ++i)
        reader.take("Album", "x");
    EXPECT_THROW(reader.take("Album", "x"), bridge::Failure);
}

TEST(AlbumList, IsInTheOrderOfArtistAndName) {
    const std::vector<ListedAlbum> albums = {
        {"the B", "x"}, {"Zed", "A"}, {"\xC3\x84nn", "b"}, {"ann", "C"}, {"", "z"}};
    EXPECT_EQ(names(sortedAlbums(albums, std::nullopt)),
              (Names{"/z", "\xC3\x84nn/b", "ann/C", "the B/x", "Zed/A"}));
}

TEST(AlbumList, HasOnlyThoseOfTheArtist) {
    const std::vector<ListedAlbum> albums = {{"Ann", "b"}, {"ANN.", "a"}, {"Ann and Bea", "c"}, {"", "d"}};
    EXPECT_EQ(names(sortedAlbums(albums, "\xC3\xA4nn")), (Names{"ANN./a", "Ann/b"}));
    EXPECT_EQ(names(sortedAlbums(albums, "Cid")), Names{});
}

} // namespace
