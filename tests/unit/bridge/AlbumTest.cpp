// SPDX-License-Identifier: MIT
#include "bridge/Album.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace {

using bridge::albumSongs;
using bridge::Song;

Song song(const std::string& file, const std::string& artist, const std::string& albumArtist = "") {
    Song result;
    result.file = file;
    if (!artist.empty()) result.artists = {artist};
    result.albumArtist = albumArtist;
    return result;
}

Song placed(const std::string& file, std::optional<int> disc, std::optional<int> number) {
    Song result = song(file, "Ann", "Ann");
    result.disc = disc;
    result.number = number;
    return result;
}

using Files = std::vector<std::string>;

Files files(std::vector<Song> songs, std::optional<std::string> artist, bool sampler = false) {
    Files result;
    for (const Song& one : albumSongs(std::move(songs), {std::move(artist), sampler}))
        result.push_back(one.file);
    return result;
}

TEST(AlbumSongs, AreThoseOfTheAlbumArtist) {
    const std::vector<Song> songs = {song("a/1", "Guest", "Ann"), song("b/1", "Ann", "Bea"),
                                     song("a/2", "Ann", "Ann")};
    EXPECT_EQ(files(songs, "Ann"), (Files{"a/1", "a/2"}));
    EXPECT_EQ(files(songs, "Bea"), (Files{"b/1"}));
}

TEST(AlbumSongs, AreThoseOfAnAlbumArtistInAllFolders) {
    EXPECT_EQ(files({song("x/cd1/1", "Ann", "Ann"), song("x/cd2/2", "Bea", "ANN")}, "Ann"),
              (Files{"x/cd1/1", "x/cd2/2"}));
}

TEST(AlbumSongs, AreThoseOfTheFolderWithoutAnAlbumArtist) {
    const std::vector<Song> songs = {song("a/1", "Ann"), song("a/2", "Guest"), song("b/1", "Bea"),
                                     song("top", "Cid")};
    EXPECT_EQ(files(songs, "Ann"), (Files{"a/1", "a/2"}));
    EXPECT_EQ(files(songs, "Guest"), (Files{"a/1", "a/2"}));
    EXPECT_EQ(files(songs, "Cid"), (Files{"top"}));
}

TEST(AlbumSongs, AreThoseOfEveryAlbumTheArtistOwns) {
    EXPECT_EQ(files({song("a/1", "Ann"), song("b/1", "Ann", "Ann"), song("c/1", "Bea")}, "Ann"),
              (Files{"a/1", "b/1"}));
}

TEST(AlbumSongs, AreThoseAlbumsWithASongOfTheArtistWhoOwnsNone) {
    const std::vector<Song> songs = {song("v/1", "Ann", "Various"), song("v/2", "Bea", "Various"),
                                     song("c/1", "Cid", "Cid")};
    EXPECT_EQ(files(songs, "Bea"), (Files{"v/1", "v/2"}));
}

TEST(AlbumSongs, CompareNamesFolded) {
    EXPECT_EQ(files({song("a/1", "", "Bj\xC3\xB6rk")}, "BJORK"), Files{"a/1"});
    EXPECT_EQ(files({song("a/1", "R.E.M.")}, "rem"), Files{"a/1"});
    EXPECT_EQ(files({song("a/1", "Bj\xF6rk")}, "bjork"), Files{"a/1"});
}

TEST(AlbumSongs, LookAtAllArtistsOfASong) {
    Song duet = song("a/1", "Ann");
    duet.artists = {"Ann", "Bea"};
    EXPECT_EQ(files({duet, song("b/1", "Cid")}, "Bea"), Files{"a/1"});
    EXPECT_EQ(files({duet, song("b/1", "Cid")}, std::nullopt), Files{"a/1"});
}

TEST(AlbumSongs, OfASamplerHaveMoreThanOneArtist) {
    const std::vector<Song> songs = {song("a/1", "Ann", "Ann"),
                                     song("v/1", "Ann", "Various"),
                                     song("v/2", "Bea", "Various"),
                                     song("f/1", "Cid"),
                                     song("f/2", "Dan"),
                                     song("g/1", "Eve"),
                                     song("g/2", "EVE")};
    EXPECT_EQ(files(songs, "Nobody", true), (Files{"f/1", "f/2", "v/1", "v/2"}));
    EXPECT_EQ(files(songs, std::nullopt, true), (Files{"f/1", "f/2", "v/1", "v/2"}));
    EXPECT_EQ(files(songs, std::nullopt), (Files{"f/1", "f/2", "v/1", "v/2"}));
}

TEST(AlbumSongs, OfSamplersOfOneNameAreThoseWithTheArtist) {
    const std::vector<Song> songs = {song("v/1", "Ann", "Various"), song("v/2", "Bea", "Various"),
                                     song("w/1", "Cid", "Label"), song("w/2", "Dan", "Label")};
    EXPECT_EQ(files(songs, "Bea", true), (Files{"v/1", "v/2"}));
    EXPECT_EQ(files(songs, "label", true), (Files{"w/1", "w/2"}));
}

TEST(AlbumSongs, AreAllWhenNoneIsASampler) {
    const std::vector<Song> songs = {song("a/1", "Ann", "Ann"), song("b/1", "Bea")};
    EXPECT_EQ(files(songs, "Ann", true), (Files{"a/1", "b/1"}));
    EXPECT_EQ(files(songs, std::nullopt), (Files{"a/1", "b/1"}));
}

TEST(AlbumSongs, AreNoneForAnUnknownArtist) {
    EXPECT_EQ(files({song("a/1", "Ann"), song("b/1", "")}, "Bea"), Files{});
    EXPECT_EQ(files({}, "Bea"), Files{});
    EXPECT_EQ(files({}, std::nullopt, true), Files{});
}

TEST(AlbumSongs, ComeByDiscNumberAndFile) {
    const std::vector<Song> songs = {placed("i", 2, 1),
                                     placed("h", 1, std::nullopt),
                                     placed("g", std::nullopt, std::nullopt),
                                     placed("c", std::nullopt, 2),
                                     placed("b", 1, 2),
                                     placed("a", 1, 10),
                                     placed("z", 1, 1)};
    EXPECT_EQ(files(songs, "Ann"), (Files{"z", "b", "c", "a", "g", "h", "i"}));
}

TEST(AlbumSongs, ComeFolderByFolderWhereANumberIsThereTwice) {
    EXPECT_EQ(files({placed("cd2/a", std::nullopt, 1), placed("cd1/b", std::nullopt, 2),
                     placed("cd1/a", std::nullopt, 1), placed("cd2/b", std::nullopt, 2)},
                    "Ann"),
              (Files{"cd1/a", "cd1/b", "cd2/a", "cd2/b"}));
    EXPECT_EQ(files({placed("zoe/a", std::nullopt, 1), placed("ann/b", std::nullopt, 2)}, "Ann"),
              (Files{"zoe/a", "ann/b"}));
    EXPECT_EQ(files({placed("b/a", 1, 1), placed("a/b", 2, 1)}, "Ann"), (Files{"b/a", "a/b"}));
}

} // namespace
