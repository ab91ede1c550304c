// SPDX-License-Identifier: MIT
#include "bridge/Replies.h"

#include "xml/XmlElement.h"

#include <gtest/gtest.h>
#include <libxml/relaxng.h>

#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

namespace {

using bridge::ErrorCode;
using bridge::PlayerState;
using bridge::playerStateReply;
using bridge::Song;
using bridge::songsReply;

const std::string declaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

/** Whether docs/xml/Appliance.rng describes the document. The schema is given to libxml2 as a text, because
 * it is not let at files here. */
bool isDescribed(const std::string& document) {
    using xml::XmlDeleter;
    std::ifstream file(SLEEVERY_SOURCE_DIR "/docs/xml/Appliance.rng");
    const std::string text(std::istreambuf_iterator<char>(file), {});
    const std::unique_ptr<xmlRelaxNGParserCtxt, XmlDeleter<xmlRelaxNGFreeParserCtxt>> parser(
        xmlRelaxNGNewMemParserCtxt(text.data(), static_cast<int>(text.size())));
    const std::unique_ptr<xmlRelaxNG, XmlDeleter<xmlRelaxNGFree>> schema(xmlRelaxNGParse(parser.get()));
    const std::unique_ptr<xmlRelaxNGValidCtxt, XmlDeleter<xmlRelaxNGFreeValidCtxt>> validator(
        xmlRelaxNGNewValidCtxt(schema.get()));
    const xml::XmlDoc tree = xml::parseXml(document, 1'000'000);
    return xmlRelaxNGValidateDoc(validator.get(), tree.get()) == 0;
}

TEST(Replies, TellAPlayersStateAsFarAsItIsKnown) {
    const std::string least = playerStateReply({});
    EXPECT_EQ(least, declaration + "<PlayerState>\n  <State>stopped</State>\n  <QueueLength>0</QueueLength>\n"
                                   "  <Repeat>0</Repeat>\n  <Random>0</Random>\n</PlayerState>\n");
    EXPECT_TRUE(isDescribed(least));
    const std::string most = playerStateReply({.activity = PlayerState::Activity::paused,
                                               .volume = 0,
                                               .queueLength = 9,
                                               .position = 3,
                                               .elapsedSeconds = "1.5",
                                               .lengthSeconds = "61",
                                               .repeat = true,
                                               .random = true,
                                               .failure = "no <device>"});
    EXPECT_EQ(most, declaration +
                        "<PlayerState>\n  <State>paused</State>\n  <Volume>0</Volume>\n"
                        "  <QueueLength>9</QueueLength>\n  <Position>3</Position>\n"
                        "  <Elapsed>1.5</Elapsed>\n  <Length>61</Length>\n  <Repeat>1</Repeat>\n"
                        "  <Random>1</Random>\n  <Failure>no &lt;device&gt;</Failure>\n</PlayerState>\n");
    EXPECT_TRUE(isDescribed(most));
}

TEST(Replies, HaveNothingElapsedOfASongThatIsStopped) {
    PlayerState state;
    state.position = 1;
    EXPECT_NE(playerStateReply(state).find("  <Position>1</Position>\n  <Elapsed>0</Elapsed>\n  <Repeat>"),
              std::string::npos);
    EXPECT_TRUE(isDescribed(playerStateReply(state)));
}

TEST(Replies, TellSongsAsFarAsTheyAreKnown) {
    Song song;
    song.file = "a/1.flac";
    song.title = "R&B";
    song.artists = {"Ann", "Bea"};
    song.album = "Mix";
    song.albumArtist = "Various";
    song.number = 0;
    song.disc = 2;
    song.lengthSeconds = 61;
    Song bare;
    bare.file = "b";
    const std::string reply = songsReply("AlbumSongs", {song, bare});
    EXPECT_EQ(reply, declaration + "<AlbumSongs>\n  <Song>\n    <Number>0</Number>\n    <Disc>2</Disc>\n"
                                   "    <Title>R&amp;B</Title>\n    <Artist>Ann</Artist>\n"
                                   "    <Album>Mix</Album>\n    <AlbumArtist>Various</AlbumArtist>\n"
                                   "    <Length>61</Length>\n    <File>a/1.flac</File>\n  </Song>\n"
                                   "  <Song>\n    <File>b</File>\n  </Song>\n</AlbumSongs>\n");
    EXPECT_TRUE(isDescribed(reply));
    EXPECT_TRUE(isDescribed(songsReply("AlbumSongs", {})));
    EXPECT_TRUE(isDescribed(songsReply("CurrentSong", {})));
    EXPECT_TRUE(isDescribed(songsReply("CurrentSong", {song})));
    EXPECT_FALSE(isDescribed(songsReply("CurrentSong", {song, song})));
}

TEST(Replies, AreUtf8WhateverMpdSends) {
    Song song;
    song.file = "Bj\xF6rk\x01/\xC3\xA9";
    const std::string reply = songsReply("CurrentSong", {song});
    EXPECT_NE(reply.find("<File>Bj\xC3\xB6rk/\xC3\x83\xC2\xA9</File>"), std::string::npos);
    EXPECT_TRUE(isDescribed(reply));
}

TEST(Replies, CountSongs) {
    EXPECT_EQ(bridge::addedSongsReply(12),
              declaration + "<AddedSongs>\n  <Count>12</Count>\n</AddedSongs>\n");
    EXPECT_TRUE(isDescribed(bridge::addedSongsReply(12)));
}

TEST(Replies, ListAlbums) {
    const std::string reply = bridge::albumsReply({{"", "Lost"}, {"Ann", "One"}});
    EXPECT_EQ(reply,
              declaration +
                  "<Albums>\n  <Album>\n    <Name>Lost</Name>\n  </Album>\n"
                  "  <Album>\n    <Artist>Ann</Artist>\n    <Name>One</Name>\n  </Album>\n</Albums>\n");
    EXPECT_TRUE(isDescribed(reply));
    EXPECT_EQ(bridge::albumsReply({}), declaration + "<Albums/>\n");
    EXPECT_TRUE(isDescribed(bridge::albumsReply({})));
}

TEST(Replies, TellWhatWentWrong) {
    const std::string reply = bridge::errorReply(ErrorCode::refused, "No.");
    EXPECT_EQ(reply, declaration + "<Error code=\"-5\">No.</Error>\n");
    for (const ErrorCode code : {ErrorCode::malformed, ErrorCode::unexpected})
        EXPECT_TRUE(isDescribed(bridge::errorReply(code, "No.")));
}

} // namespace
