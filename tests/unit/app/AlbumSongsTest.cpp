// SPDX-License-Identifier: MIT
#include "app/AlbumSongs.h"

#include "app/CoverCache.h"
#include "tests/unit/TemporaryFolder.h"
#include "tests/unit/app/Appliance.h"
#include "util/Exception.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

using namespace std::chrono_literals;
using app::DeviceSong;

std::string failure(const std::string& reply) {
    try {
        (void)app::deviceSongs(reply, "AlbumSongs");
        return "";
    } catch (const util::Exception& e) {
        return e.GetText();
    }
}

TEST(DeviceSongs, HaveWhatTheApplianceSays) {
    const std::vector<DeviceSong> songs = app::deviceSongs(
        "<AlbumSongs>\n"
        "  <Song><Number>12</Number><Disc>2</Disc><Title>Grüße &amp; Küsse</Title><Artist>A</Artist>"
        "<Album>L</Album><AlbumArtist>B</AlbumArtist><Length>214</Length><File>a/b.flac</File></Song>\n"
        "  <Song><File>c.mp3</File><Unknown/></Song>\n"
        "</AlbumSongs>\n",
        "AlbumSongs");
    ASSERT_EQ(songs.size(), 2U);
    EXPECT_EQ(songs[0].number, 12);
    EXPECT_EQ(songs[0].disc, 2);
    EXPECT_EQ(songs[0].title, "Grüße & Küsse");
    EXPECT_EQ(songs[0].artist, "A");
    EXPECT_EQ(songs[0].album, "L");
    EXPECT_EQ(songs[0].albumArtist, "B");
    EXPECT_EQ(songs[0].length, 214s);
    EXPECT_EQ(songs[0].file, "a/b.flac");
    EXPECT_EQ(songs[1].number, std::nullopt);
    EXPECT_EQ(songs[1].disc, std::nullopt);
    EXPECT_EQ(songs[1].length, std::nullopt);
    EXPECT_EQ(songs[1].title, "");
    EXPECT_EQ(songs[1].file, "c.mp3");
}

TEST(DeviceSongs, NumbersThatAreNoneAreNotThere) {
    for (const char* number : {"", "x", "-1", "1.5", "1/12", " 1", "99999999999"}) {
        const auto songs = app::deviceSongs(
            fmt::format("<A><Song><Number>{0}</Number><Length>{0}</Length></Song></A>", number), "A");
        EXPECT_EQ(songs.at(0).number, std::nullopt) << number;
        EXPECT_EQ(songs.at(0).length, std::nullopt) << number;
    }
}

TEST(DeviceSongs, MayBeNone) { EXPECT_EQ(failure("<AlbumSongs/>"), ""); }

TEST(DeviceSongs, ArriveInTheOrderOfTheAppliance) {
    const auto songs =
        app::deviceSongs("<A><Song><Number>2</Number></Song><Song/><Song><Number>1</Number></Song></A>", "A");
    EXPECT_EQ(songs.at(0).number, 2);
    EXPECT_EQ(songs.at(2).number, 1);
}

TEST(DeviceSongs, AnythingElseIsAFailure) {
    EXPECT_EQ(failure("<Error code=\"-3\">Album is missing.</Error>"),
              "The appliance refuses the command: Album is missing.");
    EXPECT_EQ(failure("<CurrentSong/>"), "The appliance answered something else than a list of songs.");
    for (const char* reply : {"", "no <xml", "<AlbumSongs>", "<!DOCTYPE A><AlbumSongs/>"})
        EXPECT_EQ(failure(reply), "The appliance answered something else than a list of songs.") << reply;
    std::string many = "<AlbumSongs>";
    for (int number = 0; number < 10'001; ++number)
        many += "<Song/>";
    EXPECT_EQ(failure(many + "</AlbumSongs>"), "The appliance lists too many songs.");
    many = "<AlbumSongs>";
    for (int number = 0; number < 300'000; ++number)
        many += "<a/>";
    EXPECT_EQ(failure(many + "</AlbumSongs>"), "The appliance lists too many songs.");
}

class AlbumSongsTest : public testing::Test {
protected:
    AlbumSongsTest() {
        ::setenv("STATE_DIRECTORY", folder_.path().c_str(), 1); // NOLINT(concurrency-mt-unsafe)
        cache_.CheckDatabase();
        cache_.StoreParameter("deviceUrl", appliance_.url());
    }

    std::string commandFor(SongInfo song) {
        (void)song.readAlbumSongs();
        return appliance_.commands().empty() ? "" : appliance_.commands().back();
    }

    tests::TemporaryFolder folder_;
    CoverCache cache_;
    tests::Appliance appliance_{"<AlbumSongs/>"};
};

TEST_F(AlbumSongsTest, AreAskedForByArtistAndAlbum) {
    EXPECT_EQ(commandFor({"Lowbeam", "Quiet Harbour", "Paper Lanterns"}),
              "<GetAlbumSongs><Album>Paper Lanterns</Album><Artist>Lowbeam</Artist></GetAlbumSongs>");
}

TEST_F(AlbumSongsTest, OfASamplerAreAskedForByItsAlbum) {
    EXPECT_EQ(commandFor({"", "", "Summer", true}),
              "<GetAlbumSongs><Album>Summer</Album><Sampler>1</Sampler></GetAlbumSongs>");
    EXPECT_EQ(
        commandFor({"Lowbeam", "", "Summer", true}),
        "<GetAlbumSongs><Album>Summer</Album><Sampler>1</Sampler><Artist>Lowbeam</Artist></GetAlbumSongs>");
}

TEST_F(AlbumSongsTest, WithoutAnArtistAreAskedForByTheAlbum) {
    EXPECT_EQ(commandFor({"", "", "Summer"}), "<GetAlbumSongs><Album>Summer</Album></GetAlbumSongs>");
}

TEST_F(AlbumSongsTest, AreAskedForInUtf8WithoutMarkup) {
    EXPECT_EQ(commandFor({"</Artist>", "", "R\xF6k & Roll"}),
              "<GetAlbumSongs><Album>Rök &amp; Roll</Album><Artist>&lt;/Artist&gt;</Artist></GetAlbumSongs>");
}

TEST_F(AlbumSongsTest, OfNoAlbumAreNone) {
    EXPECT_EQ(commandFor({"Lowbeam", "Quiet Harbour", ""}), "");
    cache_.DeleteParameter("deviceUrl");
    EXPECT_EQ(commandFor({"", "", ""}), "");
}

TEST_F(AlbumSongsTest, AnApplianceThatCantBeAskedIsAFailure) {
    cache_.DeleteParameter("deviceUrl");
    EXPECT_THROW((void)SongInfo("Lowbeam", "", "Paper Lanterns").readAlbumSongs(), util::Exception);
}

} // namespace
