// SPDX-License-Identifier: MIT
#include "app/CoversAtHand.h"

#include "store/Sha256.h"
#include "store/sqlite/Store.h"
#include "tests/unit/Bytes.h"
#include "tests/unit/Pictures.h"
#include "tests/unit/TemporaryFolder.h"
#include "tests/unit/app/Flac.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace {

namespace fs = std::filesystem;
using matching::Ranked;
using store::Record;
using Texts = std::vector<std::string>;

std::string pictureOf(int widthPixels) { return tests::png(tests::picture(widthPixels, 4)); }

/** The URL of a picture that is in the store. */
std::string urlOf(const std::string& bytes) { return "cover:" + store::sha256(tests::bytesOf(bytes)); }

Texts sourcesOf(const std::vector<Ranked>& list) {
    Texts names;
    for (const Ranked& ranked : list)
        names.push_back(ranked.candidate.source);
    return names;
}

Texts urlsOf(const std::vector<Ranked>& list) {
    Texts urls;
    for (const Ranked& ranked : list)
        urls.push_back(ranked.candidate.pictureUrl);
    return urls;
}

class CoversAtHand : public testing::Test {
protected:
    CoversAtHand() {
        fs::create_directories(album_);
        store().setParameter({"musicFolder", music_.string()});
    }

    store::CoverStore& store() { return *open_.store; }

    static void write(const fs::path& path, const std::string& bytes) {
        std::ofstream(path, std::ios::binary) << bytes;
    }

    /** Keeps the picture for a song. @return the entry's id */
    int keep(const Record& record, const std::string& bytes) {
        return store().storeImage(
            record,
            {.bytes = tests::bytesOf(bytes), .mimeType = "image/png", .widthPixels = 7, .heightPixels = 8},
            store::IfPresent::Replace);
    }

    std::vector<Ranked> covers() { return covers(song_); }
    std::vector<Ranked> covers(const Record& song) {
        testing::internal::CaptureStderr();
        auto found = app::coversAtHand(open_, song);
        said_ = testing::internal::GetCapturedStderr();
        return found;
    }

    tests::TemporaryFolder folder_;
    fs::path music_ = fs::canonical(folder_.path()) / "music";
    fs::path album_ = music_ / "Paper Lanterns";
    app::OpenStore open_{std::make_unique<store::SqliteStore>(folder_.path())};
    Record song_{.artist = "Lowbeam",
                 .title = "Quiet Harbour",
                 .album = "Paper Lanterns",
                 .songFilename = (album_ / "one.flac").string()};
    std::string said_;
};

TEST_F(CoversAtHand, AreNoneWhereThereIsNothing) {
    EXPECT_TRUE(covers({}).empty());
    EXPECT_TRUE(covers({.artist = "Lowbeam", .title = "Quiet Harbour"}).empty());
    EXPECT_EQ(said_, "");
}

TEST_F(CoversAtHand, AreInTheSongsFileAndBesideIt) {
    write(album_ / "one.flac", tests::flacWith(pictureOf(5)));
    write(album_ / "cover.png", pictureOf(6));
    const auto found = covers();
    ASSERT_EQ(sourcesOf(found), (Texts{"file", "folder"}));
    EXPECT_EQ(urlsOf(found), (Texts{urlOf(pictureOf(5)), urlOf(pictureOf(6))}));
    EXPECT_EQ(found[0].judgement.score, 0.96);
    EXPECT_EQ(found[0].judgement.reason, "The song's own file has it.");
    EXPECT_EQ(found[1].judgement.score, 0.94);
    EXPECT_EQ(found[1].judgement.reason, "It lies beside the song's file.");
    const matching::Candidate expected{.source = "file",
                                       .artist = "Lowbeam",
                                       .album = "Paper Lanterns",
                                       .title = "Quiet Harbour",
                                       .pictureUrl = urlOf(pictureOf(5)),
                                       .widthPixels = 5,
                                       .heightPixels = 4};
    EXPECT_EQ(found[0].candidate, expected);
    const auto kept = store().image(found[0].candidate.pictureUrl.substr(6));
    ASSERT_TRUE(kept) << "its address can be fetched";
    EXPECT_EQ(tests::textOf(kept->bytes()), pictureOf(5));
}

TEST_F(CoversAtHand, AreSoughtInNoFileWithoutAMusicFolder) {
    write(album_ / "one.flac", tests::flacWith(pictureOf(5)));
    store().deleteParameter("musicFolder");
    EXPECT_TRUE(covers().empty());
    EXPECT_EQ(said_, "");
}

TEST_F(CoversAtHand, AreNotOutsideTheMusicFolder) {
    write(music_.parent_path() / "one.flac", tests::flacWith(pictureOf(5)));
    write(music_.parent_path() / "folder.jpg", pictureOf(5));
    song_.songFilename = (music_.parent_path() / "one.flac").string();
    EXPECT_TRUE(covers().empty());
    EXPECT_EQ(std::ranges::count(said_, '\n'), 2) << said_;
}

TEST_F(CoversAtHand, OneThatCantBeReadLeavesTheOthers) {
    write(album_ / "folder.jpg", pictureOf(6));
    for (const std::string& file :
         {std::string("no song"), std::string(), std::string("fLaC"), tests::flacWith("no picture")}) {
        write(album_ / "one.flac", file);
        EXPECT_EQ(sourcesOf(covers()), (Texts{"folder"})) << file;
    }
    write(album_ / "one.flac", tests::flacWith(pictureOf(5)));
    write(album_ / "folder.jpg", "no picture");
    EXPECT_EQ(sourcesOf(covers()), (Texts{"file"}));
    EXPECT_EQ(said_.rfind("sleevery.fcgi: no picture from the song's folder: ", 0), 0U) << said_;
}

TEST_F(CoversAtHand, AreWithinTheLimits) {
    write(album_ / "one.flac", tests::flacWith(pictureOf(5)));
    write(album_ / "folder.jpg", pictureOf(50));
    store().setParameter({"maxImagePixels", "20"});
    EXPECT_EQ(sourcesOf(covers()), (Texts{"file"}));
    store().setParameter({"maxImagePixels", "19"});
    EXPECT_TRUE(covers().empty());
    EXPECT_EQ(said_.rfind("sleevery.fcgi: no picture from the song's file: ", 0), 0U) << said_;
    store().deleteParameter("maxImagePixels");
    store().setParameter({"maxImageBytes", "20"});
    EXPECT_TRUE(covers().empty());
}

TEST_F(CoversAtHand, AreInTheFilesThatTheSongIsKnownByButThreeAtMost) {
    const int id =
        keep({.artist = "Lowbeam", .album = "Paper Lanterns", .songFilename = "Paper Lanterns/two.flac"},
             pictureOf(9));
    store().queueDeleteJob(id);
    for (const char* name : {"one.flac", "three.flac", "four.flac"})
        store().queueTagJob(id, (album_ / name).string(), false);
    int width = 10;
    for (const char* name : {"one.flac", "two.flac", "three.flac", "four.flac"})
        write(album_ / name, tests::flacWith(pictureOf(width++)));
    EXPECT_EQ(urlsOf(covers()),
              (Texts{urlOf(pictureOf(10)), urlOf(pictureOf(11)), urlOf(pictureOf(13)), urlOf(pictureOf(9))}));
    song_.songFilename.clear();
    EXPECT_EQ(urlsOf(covers()),
              (Texts{urlOf(pictureOf(11)), urlOf(pictureOf(13)), urlOf(pictureOf(12)), urlOf(pictureOf(9))}));
}

TEST_F(CoversAtHand, AreThoseThatTheSongHasAndHad) {
    for (const int width : {1, 2, 3})
        keep(song_, pictureOf(width));
    const Record asked{.artist = "lowbeam", .album = "Paper Lanterns (Remastered)"};
    const auto found = covers(asked);
    ASSERT_EQ(sourcesOf(found), (Texts{"current", "earlier", "earlier"}));
    EXPECT_EQ(urlsOf(found), (Texts{urlOf(pictureOf(3)), urlOf(pictureOf(2)), urlOf(pictureOf(1))}));
    EXPECT_EQ(found[0].judgement.score, 0.92);
    EXPECT_EQ(found[0].judgement.reason, "The song has it now.");
    EXPECT_EQ(found[0].candidate.album, "Paper Lanterns") << "as it is stored";
    EXPECT_EQ(found[0].candidate.widthPixels, 7);
    EXPECT_EQ(found[0].candidate.heightPixels, 8);
    EXPECT_EQ(found[1].judgement.score, 0.7);
    EXPECT_EQ(found[1].judgement.reason, "The song had it before.");
}

TEST_F(CoversAtHand, AreThoseOfOtherEntriesThatFit) {
    keep({.artist = "Lowbeam", .album = "Paper Lanterns Live"}, pictureOf(1)); // another work
    keep({.artist = "The Ferrymen", .album = "Paper Lanterns"}, pictureOf(2));
    keep({.artist = "Lowbeam & Ada Vinter", .album = "Paper Lanterns"}, pictureOf(3));
    store().registerEntry({.artist = "Lowbeam & Friends", .album = "Paper Lanterns"}); // has none
    const auto found = covers();
    ASSERT_EQ(urlsOf(found), (Texts{urlOf(pictureOf(3))}));
    EXPECT_EQ(found[0].candidate.source, "cache");
    EXPECT_EQ(found[0].candidate.artist, "Lowbeam & Ada Vinter");
    const auto judgement = matching::Judge(app::questionOf(song_)).judge(found[0].candidate);
    EXPECT_DOUBLE_EQ(found[0].judgement.score, judgement.score * 0.9);
    EXPECT_EQ(found[0].judgement.reason, "Another entry of the cache has it. " + judgement.reason);
}

TEST_F(CoversAtHand, OfASamplerAreThoseOfItsAlbumWhoeverSings) {
    keep({.artist = "Ada Vinter", .album = "Paper Lanterns", .sampler = false}, pictureOf(2));
    EXPECT_TRUE(covers().empty());
    song_.sampler = true;
    EXPECT_EQ(sourcesOf(covers()), (Texts{"cache"}));
}

TEST_F(CoversAtHand, OfASongWithoutAlbumAreThoseOfTheSameSong) {
    keep({.artist = "Lowbeam", .title = "Quiet Harbour", .album = "Paper Lanterns"}, pictureOf(2));
    keep({.artist = "Lowbeam", .title = "Another One", .album = "Glass Weather"}, pictureOf(3));
    song_.album.clear();
    EXPECT_EQ(urlsOf(covers()), (Texts{urlOf(pictureOf(2))}));
    song_.title.clear();
    EXPECT_TRUE(covers().empty()) << "an artist alone is no song";
}

TEST_F(CoversAtHand, AlbumsAreThoseOfEntriesWithTheSong) {
    store().registerEntry({.artist = "Lowbeam", .title = "Quiet Harbour"}); // of no album
    keep({.artist = "Lowbeam", .title = "Quiet Harbour", .album = "Paper Lanterns"}, pictureOf(2));
    store().registerEntry({.artist = "Lowbeam", .title = "Quiet Harbour", .album = "Glass Weather"});
    store().registerEntry({.artist = "Lowbeam", .title = "Another One", .album = "Slow Tides"});
    store().registerEntry({.artist = "The Ferrymen", .title = "Quiet Harbour", .album = "Oslo"});
    song_.album.clear();
    const auto found = app::albumsAtHand(open_, song_);
    ASSERT_EQ(found.size(), 2U);
    EXPECT_EQ(found[0].candidate.album, "Glass Weather");
    EXPECT_EQ(found[1].candidate.album, "Paper Lanterns");
    EXPECT_EQ(found[1].candidate.source, "cache");
    EXPECT_EQ(found[1].candidate.artist, "Lowbeam");
    EXPECT_EQ(found[1].candidate.title, "Quiet Harbour");
    EXPECT_EQ(found[1].judgement.reason, "Artist and title agree; release.");
    EXPECT_GT(found[1].judgement.score, 0.8);
}

TEST_F(CoversAtHand, AQuestionIsWhatTheRecordSaysOfTheSong) {
    song_.sampler = true;
    const matching::Question question = app::questionOf(song_);
    EXPECT_EQ(question.artist, "Lowbeam");
    EXPECT_EQ(question.album, "Paper Lanterns");
    EXPECT_EQ(question.title, "Quiet Harbour");
    EXPECT_TRUE(question.sampler);
}

} // namespace
