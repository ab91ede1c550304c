// SPDX-License-Identifier: MIT
#include "bridge/Commands.h"

#include "tests/unit/bridge/FakeMpd.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace {

using bridge::Failure;
using bridge::MusicServer;
using tests::LoopbackServer;

const std::string status = "volume: 40\nrepeat: 1\nrandom: 0\nplaylistlength: 3\nstate: play\nsong: 1\n"
                           "elapsed: 1.500\nduration: 61.25\nOK\n";
const std::string statusReply = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<PlayerState>\n"
                                "  <State>playing</State>\n  <Volume>40</Volume>\n"
                                "  <QueueLength>3</QueueLength>\n  <Position>2</Position>\n"
                                "  <Elapsed>1.500</Elapsed>\n  <Length>61.25</Length>\n"
                                "  <Repeat>1</Repeat>\n  <Random>0</Random>\n</PlayerState>\n";
const std::string find = R"-(find "(Album == \"Mix\")")-";
const std::string search = R"-(search "(Album == \"Mix\")")-";
const std::string twoSongs = "file: v/2.flac\nTitle: M2\nArtist: Ann\nTrack: 2\n"
                             "file: v/1.flac\nTitle: M1\nArtist: Bea\nTrack: 1\nOK\n";

using Answers = std::map<std::string, std::string>;

/** The bridge before an MPD that knows the given lines. */
class Bridge {
public:
    explicit Bridge(Answers answers)
        : mpd_(tests::answering(std::move(answers)), tests::mpdManners()), music_(tests::addressOf(mpd_)) {}

    std::string operator()(const std::string& command) { return bridge::carryOut(command, music_); }

    std::string failureOf(const std::string& command) {
        try {
            return (*this)(command);
        } catch (const Failure& e) {
            return std::to_string(static_cast<int>(e.code())) + " " + e.what();
        }
    }

    std::vector<std::string> sent() { return tests::linesTo(mpd_); }

private:
    LoopbackServer mpd_;
    MusicServer music_;
};

using Lines = std::vector<std::string>;

TEST(Commands, TellThePlayersState) {
    Bridge bridge(Answers{{"status", status}});
    EXPECT_EQ(bridge("<GetPlayerState/>"), statusReply);
}

TEST(Commands, TellThePlayerWhatToDoAndThenItsState) {
    const std::map<std::string, std::string> lines = {
        {"<Play/>", "play"},
        {"<Play><Position>2</Position></Play>", "play \"1\""},
        {"<Pause/>", "pause \"1\""},
        {"<Stop/>", "stop"},
        {"<Next/>", "next"},
        {"<Previous/>", "previous"},
        {"<SetVolume><Volume>40</Volume></SetVolume>", "setvol \"40\""},
    };
    for (const auto& [command, line] : lines) {
        Bridge bridge(Answers{{"status", status}, {line, "OK\n"}});
        EXPECT_EQ(bridge(command), statusReply) << command;
        EXPECT_EQ(bridge.sent(), (Lines{line, "status"})) << command;
    }
}

TEST(Commands, FindNoSongBeyondTheQueue) {
    Bridge bridge(Answers{{"play \"8\"", "ACK [2@0] {play} Bad song index\n"}});
    EXPECT_EQ(bridge.failureOf("<Play><Position>9</Position></Play>"),
              "-4 The queue has no song at this position.");
}

TEST(Commands, PassOnARefusal) {
    Bridge bridge(Answers{{"next", "ACK [55@0] {next} Not <playing> &\x01 now\n"},
                          {"play \"8\"", "ACK [4@0] {play} you don't have permission\n"}});
    EXPECT_EQ(bridge.failureOf("<Next/>"), "-5 The music server refuses: Not playing  now");
    EXPECT_EQ(bridge.failureOf("<Play><Position>9</Position></Play>"),
              "-5 The music server refuses: you don't have permission");
}

TEST(Commands, AskMpdNothingWhenTheyAreWrong) {
    Bridge bridge(Answers{});
    EXPECT_EQ(bridge.failureOf("<Dance/>"), "-2 There is no command Dance.");
    EXPECT_EQ(bridge.failureOf("<play/>"), "-2 There is no command play.");
    EXPECT_EQ(bridge.failureOf("<Stop><Position>1</Position></Stop>"), "-3 The field Position is unknown.");
    EXPECT_EQ(bridge.failureOf("<Play><Position>0</Position></Play>"),
              "-3 The field Position is no whole number from 1 to 2147483647.");
    EXPECT_EQ(bridge.failureOf("<SetVolume/>"), "-3 The field Volume is missing.");
    EXPECT_EQ(bridge.failureOf("<SetVolume><Volume>101</Volume></SetVolume>"),
              "-3 The field Volume is no whole number from 0 to 100.");
    EXPECT_EQ(bridge.failureOf("<AddAlbum><Artist>Ann</Artist></AddAlbum>"),
              "-3 The field Album is missing.");
    EXPECT_EQ(bridge.failureOf("<GetAlbumSongs><Album>x</Album><Sampler>2</Sampler></GetAlbumSongs>"),
              "-3 The field Sampler is no whole number from 0 to 1.");
    EXPECT_EQ(bridge.failureOf("<ListAlbums><Artist/></ListAlbums>"), "-3 The field Artist is empty.");
    EXPECT_TRUE(bridge.sent().empty());
}

TEST(Commands, ListTheSongsOfAnAlbumInPlayingOrder) {
    Bridge bridge(Answers{{find, twoSongs}});
    const std::string reply = bridge("<GetAlbumSongs><Album>Mix</Album></GetAlbumSongs>");
    EXPECT_LT(reply.find("<Title>M1</Title>"), reply.find("<Title>M2</Title>"));
    EXPECT_NE(reply.find("<Title>M2</Title>"), std::string::npos);
    EXPECT_EQ(bridge.sent(), Lines{find});
}

TEST(Commands, IgnoreCaseWhenThereIsNoSuchAlbum) {
    Bridge bridge(Answers{{find, "OK\n"}, {search, twoSongs}});
    EXPECT_NE(bridge("<GetAlbumSongs><Album>Mix</Album></GetAlbumSongs>").find("M1"), std::string::npos);
}

TEST(Commands, ListNoSongsOfAnUnknownAlbum) {
    Bridge bridge(Answers{{find, "OK\n"}, {search, "OK\n"}});
    EXPECT_EQ(bridge("<GetAlbumSongs><Album>Mix</Album></GetAlbumSongs>"),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<AlbumSongs/>\n");
}

TEST(Commands, AddAnAlbumInPlayingOrder) {
    Bridge bridge(Answers{{find, twoSongs},
                          {"command_list_begin", ""},
                          {"addid \"v/1.flac\"", ""},
                          {"addid \"v/2.flac\"", ""},
                          {"command_list_end", "Id: 7\nId: 8\nOK\n"}});
    EXPECT_EQ(
        bridge("<AddAlbum><Album>Mix</Album><Sampler>1</Sampler></AddAlbum>"),
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<AddedSongs>\n  <Count>2</Count>\n</AddedSongs>\n");
    EXPECT_EQ(bridge.sent(), (Lines{find, "command_list_begin", "addid \"v/1.flac\"", "addid \"v/2.flac\"",
                                    "command_list_end"}));
}

TEST(Commands, AddNoAlbumThatNobodyKnows) {
    Bridge bridge(Answers{{find, twoSongs}});
    EXPECT_EQ(bridge.failureOf("<AddAlbum><Album>Mix</Album><Artist>Cid</Artist></AddAlbum>"),
              "-4 The music server does not know this album.");
    EXPECT_EQ(bridge.sent(), Lines{find});
}

TEST(Commands, TellTheCurrentSongOrThatThereIsNone) {
    Bridge none(Answers{{"currentsong", "OK\n"}});
    EXPECT_EQ(none("<GetCurrentSong/>"), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<CurrentSong/>\n");
    Bridge one(Answers{{"currentsong", "file: a.flac\nPos: 0\nId: 1\nOK\n"}});
    EXPECT_EQ(one("<GetCurrentSong/>"),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<CurrentSong>\n  <Song>\n"
              "    <File>a.flac</File>\n  </Song>\n</CurrentSong>\n");
}

TEST(Commands, ListAlbums) {
    Bridge bridge(Answers{{"list \"Album\" \"group\" \"AlbumArtist\"",
                           "AlbumArtist: Bea\nAlbum: Mix\nAlbumArtist: Ann\nAlbum: Two\nAlbum: One\nOK\n"}});
    EXPECT_EQ(bridge("<ListAlbums><Artist>ann</Artist></ListAlbums>"),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Albums>\n"
              "  <Album>\n    <Artist>Ann</Artist>\n    <Name>One</Name>\n  </Album>\n"
              "  <Album>\n    <Artist>Ann</Artist>\n    <Name>Two</Name>\n  </Album>\n</Albums>\n");
}

} // namespace
