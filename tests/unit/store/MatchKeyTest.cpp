// SPDX-License-Identifier: MIT
#include "store/MatchKey.h"

#include <gtest/gtest.h>

namespace {

using store::matchKeys;

TEST(MatchKeys, AnAlbumIsKnownByArtistAndAlbum) {
    const auto keys = matchKeys({.artist = "Lowbeam", .title = "Quiet Harbour", .album = "Paper Lanterns"});
    EXPECT_EQ(keys.album, "alowbeam\x1fpaper lanterns");
    EXPECT_EQ(keys.title, "tlowbeam\x1fquiet harbour");
}

TEST(MatchKeys, ASamplerIsKnownByItsAlbum) {
    EXPECT_EQ(matchKeys({.artist = "A", .album = "Songs", .sampler = true}).album,
              matchKeys({.artist = "B", .album = "songs", .sampler = true}).album);
    EXPECT_NE(matchKeys({.artist = "A", .album = "Songs", .sampler = true}).album,
              matchKeys({.artist = "A", .album = "Songs"}).album);
}

TEST(MatchKeys, WithoutAnArtistOnlyASamplerHasKeys) {
    EXPECT_EQ(matchKeys({.title = "Quiet Harbour", .album = "Paper Lanterns"}).album, "");
    EXPECT_EQ(matchKeys({.title = "Quiet Harbour", .album = "Paper Lanterns"}).title, "");
    EXPECT_NE(matchKeys({.title = "Quiet Harbour", .sampler = true}).title, "");
}

TEST(MatchKeys, TheBorderBetweenArtistAndTitleCounts) {
    EXPECT_NE(matchKeys({.artist = "a b", .title = "c"}).title,
              matchKeys({.artist = "a", .title = "b c"}).title);
}

} // namespace
