// SPDX-License-Identifier: MIT
#include "bridge/Song.h"

#include "bridge/Failure.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace {

using bridge::Song;
using bridge::SongReader;

/** A song with one field. */
Song with(const std::string& name, const std::string& value) {
    SongReader reader;
    reader.take("file", "a");
    reader.take(name, value);
    return std::move(reader).songs().at(0);
}

TEST(SongReader, BeginsASongWithEachFile) {
    SongReader reader;
    reader.take("Title", "of nothing");
    for (const auto& [name, value] :
         std::vector<std::pair<std::string, std::string>>{{"file", "a/1.flac"},
                                                          {"Title", "One"},
                                                          {"Artist", "Ann"},
                                                          {"Artist", "Bea"},
                                                          {"Album", "Mix"},
                                                          {"AlbumArtist", "Various"},
                                                          {"Track", "3"},
                                                          {"Disc", "2"},
                                                          {"duration", "1.25"},
                                                          {"file", "b"}})
        reader.take(name, value);
    const std::vector<Song> songs = std::move(reader).songs();
    ASSERT_EQ(songs.size(), 2U);
    EXPECT_EQ(songs[0].file, "a/1.flac");
    EXPECT_EQ(songs[0].title, "One");
    EXPECT_EQ(songs[0].artists, (std::vector<std::string>{"Ann", "Bea"}));
    EXPECT_EQ(songs[0].album, "Mix");
    EXPECT_EQ(songs[0].albumArtist, "Various");
    EXPECT_EQ(songs[0].number, 3);
    EXPECT_EQ(songs[0].disc, 2);
    EXPECT_EQ(songs[0].lengthSeconds, 1);
    EXPECT_EQ(songs[1].file, "b");
    EXPECT_EQ(songs[1].title, "");
    EXPECT_TRUE(songs[1].artists.empty());
    EXPECT_EQ(songs[1].number, std::nullopt);
}

TEST(SongReader, KeepsTheFirstOfSeveralValues) {
    SongReader reader;
    for (const auto& [name, value] : std::vector<std::pair<std::string, std::string>>{
             {"file", "a"}, {"Title", "One"}, {"Title", "Two"}, {"Track", "1"}, {"Track", "2"}})
        reader.take(name, value);
    const Song song = std::move(reader).songs().at(0);
    EXPECT_EQ(song.title, "One");
    EXPECT_EQ(song.number, 1);
}

TEST(SongReader, ReadsTheNumberBeforeASlash) {
    EXPECT_EQ(with("Track", "3/12").number, 3);
    EXPECT_EQ(with("Track", "03").number, 3);
    EXPECT_EQ(with("Disc", "1/").disc, 1);
    for (const char* value : {"", "A1", "3a", "-3", "/12", " 3", "99999999999999"})
        EXPECT_EQ(with("Track", value).number, std::nullopt) << value;
}

TEST(SongReader, RoundsTheLength) {
    EXPECT_EQ(with("duration", "61.499").lengthSeconds, 61);
    EXPECT_EQ(with("duration", "61.500").lengthSeconds, 62);
    EXPECT_EQ(with("duration", "61").lengthSeconds, 61);
    EXPECT_EQ(with("duration", "61.").lengthSeconds, 61);
    EXPECT_EQ(with("duration", "2147483647.9").lengthSeconds, 2147483647);
    EXPECT_EQ(with("Time", "61").lengthSeconds, 61);
    for (const char* value : {"", "x", "-1", ".5"})
        EXPECT_EQ(with("duration", value).lengthSeconds, std::nullopt) << value;
}

TEST(SongReader, PrefersTheFinerLengthWhereverItStands) {
    SongReader reader;
    for (const auto& [name, value] : std::vector<std::pair<std::string, std::string>>{{"file", "a"},
                                                                                      {"Time", "61"},
                                                                                      {"duration", "61.5"},
                                                                                      {"file", "b"},
                                                                                      {"duration", "61.5"},
                                                                                      {"Time", "61"}})
        reader.take(name, value);
    const std::vector<Song> songs = std::move(reader).songs();
    EXPECT_EQ(songs[0].lengthSeconds, 62);
    EXPECT_EQ(songs[1].lengthSeconds, 62);
}

TEST(SongReader, EndsSomewhere) {
    SongReader reader;
    for (std::size_t i = 0; i < SongReader::maxSongs; ++i)
        reader.take("file", "a");
    EXPECT_THROW(reader.take("file", "a"), bridge::Failure);
}

} // namespace
