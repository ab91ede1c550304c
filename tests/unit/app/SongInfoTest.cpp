// SPDX-License-Identifier: MIT
#include "app/SongInfo.h"

#include "app/CoverCache.h"
#include "tests/unit/Pictures.h"
#include "tests/unit/TemporaryFolder.h"
#include "tests/unit/app/Flac.h"
#include "util/Exception.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

void attach(SongInfo& song, const std::string& bytes) {
    song.setImage(bytes.data(), static_cast<unsigned int>(bytes.size()));
}

TEST(SongInfo, IsEmptyAtFirst) {
    const SongInfo song;
    EXPECT_EQ(song.getArtist() + song.getTitle() + song.getAlbum() + song.getGenre() + song.getFilename() +
                  song.getUid() + song.getImageUrl(),
              "");
    EXPECT_FALSE(song.isSampler());
    EXPECT_FALSE(song.isAlbumGuessed());
    EXPECT_FALSE(song.hasImage());
    EXPECT_EQ(song.getCacheId(), 0);
    EXPECT_EQ(song.getGuessScore(), 0.0F);
}

TEST(SongInfo, KeepsBytesAsTheyCame) {
    SongInfo song;
    song.setArtist("\xE9\x01<&>");
    song.setTitle(std::string("a\0b", 3));
    EXPECT_EQ(song.getArtist(), "\xE9\x01<&>");
    EXPECT_EQ(song.getTitle(), std::string("a\0b", 3));
}

TEST(SongInfo, IsMadeFromTexts) {
    const SongInfo song("a", "t", "l", true);
    EXPECT_EQ(song.getArtist(), "a");
    EXPECT_EQ(song.getTitle(), "t");
    EXPECT_EQ(song.getAlbum(), "l");
    EXPECT_TRUE(song.isSampler());
    EXPECT_EQ(SongInfo(nullptr, nullptr, nullptr), SongInfo());
    EXPECT_EQ(SongInfo(std::string("a"), std::string("t"), std::string("l")), SongInfo("a", "t", "l"));
}

TEST(SongInfo, IsValidWithAnArtistOrASamplerAndATitleOrAnAlbum) {
    EXPECT_TRUE(SongInfo("a", "t", "").isValid());
    EXPECT_TRUE(SongInfo("a", "", "l").isValid());
    EXPECT_TRUE(SongInfo("", "t", "", true).isValid());
    EXPECT_TRUE(SongInfo("", "", "l", true).isValid());
    EXPECT_FALSE(SongInfo("a", "", "").isValid());
    EXPECT_FALSE(SongInfo("", "t", "l").isValid());
    EXPECT_FALSE(SongInfo("", "", "", true).isValid());
    EXPECT_FALSE(SongInfo().isValid());
}

TEST(SongInfo, ComparesByValue) {
    SongInfo one("a", "t", "l");
    SongInfo two = one;
    EXPECT_EQ(one, two);
    two.setCacheId(3);
    EXPECT_NE(one, two);
    two = one;
    attach(one, tests::png(tests::picture(3, 3)));
    EXPECT_NE(one, two);
    two = one;
    EXPECT_EQ(one, two);
    attach(two, tests::png(tests::picture(3, 3, 9)));
    EXPECT_NE(one, two);
}

TEST(SongInfo, TakesJpegAndPngAndNothingElse) {
    SongInfo song;
    attach(song, tests::jpeg(tests::picture(4, 3)));
    EXPECT_EQ(song.getImage()->width(), 4);
    attach(song, tests::png(tests::picture(5, 3)));
    EXPECT_EQ(song.getImage()->width(), 5);
    const std::string gif = tests::encoded(tests::picture(6, 3),
                                           [](gdImagePtr of, int* size) { return gdImageGifPtr(of, size); });
    for (const std::string& bytes : {gif, std::string("<html>"), std::string("x")}) {
        EXPECT_THROW(attach(song, bytes), util::Exception);
        EXPECT_EQ(song.getImage()->width(), 5) << "a refused image changes nothing";
    }
}

TEST(SongInfo, DropsTheImageWithNothing) {
    SongInfo song;
    attach(song, tests::png(tests::picture(5, 3)));
    song.setImage(nullptr, 0);
    EXPECT_FALSE(song.hasImage());
    attach(song, tests::png(tests::picture(5, 3)));
    attach(song, "");
    EXPECT_FALSE(song.hasImage());
}

TEST(SongInfo, DumpWritesShortPrintableLines) {
    SongInfo song("Low\nbeam\x1b[31m", std::string(1'000'000, 'x'), "");
    song.setSampler(true);
    attach(song, tests::png(tests::picture(5, 3)));
    testing::internal::CaptureStderr();
    song.Dump();
    const std::string dumped = testing::internal::GetCapturedStderr();
    EXPECT_EQ(dumped.rfind("  artist: Low\\x0Abeam\\x1B[31m\n  title: xxx", 0), 0U) << dumped.substr(0, 100);
    EXPECT_NE(dumped.find("  sampler\n  image: 5 x 3\n"), std::string::npos);
    EXPECT_LT(dumped.size(), 1000U);
    testing::internal::CaptureStderr();
    SongInfo().Dump();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(SongInfo, LoadsAndSavesItsImage) {
    const tests::TemporaryFolder folder;
    const std::string path = (folder.path() / "cover.png").string();
    SongInfo song;
    attach(song, tests::png(tests::picture(5, 3)));
    ASSERT_TRUE(song.saveImage(path.c_str()));
    SongInfo other;
    ASSERT_TRUE(other.loadImage(path.c_str()));
    EXPECT_EQ(other.getImage()->width(), 5);
    testing::internal::CaptureStderr();
    EXPECT_FALSE(other.loadImage((folder.path() / "missing.png").c_str()));
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(other.getImage()->width(), 5);
}

TEST(SongInfo, SeesWhetherTheSongsFileCarriesAnImage) {
    const tests::TemporaryFolder folder;
    ::setenv("STATE_DIRECTORY", (folder.path() / "state").c_str(), 1); // NOLINT(concurrency-mt-unsafe)
    const std::filesystem::path file = std::filesystem::canonical(folder.path()) / "music" / "song.flac";
    std::filesystem::create_directory(file.parent_path());
    const auto write = [&](const std::string& bytes) { std::ofstream(file, std::ios::binary) << bytes; };
    SongInfo song;
    song.setFilename(file.string());
    write(tests::flacWith(tests::png(tests::picture(5, 3))));
    EXPECT_FALSE(song.hasEmbeddedImage()) << "without a library there is no music folder";

    CoverCache cache;
    cache.CheckDatabase();
    EXPECT_FALSE(song.hasEmbeddedImage()) << "nor before the parameter is set";
    cache.StoreParameter("musicFolder", file.parent_path().string());
    EXPECT_TRUE(song.hasEmbeddedImage());
    song.setFilename("song.flac");
    EXPECT_TRUE(song.hasEmbeddedImage());
    for (const std::string& bytes : {tests::flacWith(""), std::string("no song"), std::string()}) {
        write(bytes);
        EXPECT_FALSE(song.hasEmbeddedImage());
    }
    song.setFilename("missing.flac");
    EXPECT_FALSE(song.hasEmbeddedImage());
    EXPECT_FALSE(SongInfo().hasEmbeddedImage());
}

TEST(SongInfo, PurgesStopWords) {
    EXPECT_EQ(SongInfo().purgeStopWords("The Lowbeam (Remastered)"), "Lowbeam");
}

} // namespace
