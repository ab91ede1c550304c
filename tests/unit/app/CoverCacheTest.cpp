// SPDX-License-Identifier: MIT
#include "app/CoverCache.h"
#include "tests/unit/Flushes.h"
#include "tests/unit/Pictures.h"
#include "tests/unit/TemporaryFolder.h"
#include "tests/unit/Waiting.h"
#include "util/Exception.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

namespace {

std::string pngOf(util::Image& image) {
    void* data = nullptr;
    std::size_t size = 0;
    if (!image.getRawPNG(&data, size)) return "";
    const std::unique_ptr<void, decltype(&std::free)> block(
        data, &std::free); // NOLINT(cppcoreguidelines-no-malloc)
    return {static_cast<const char*>(data), size};
}

void attach(SongInfo& song, const std::string& bytes) {
    song.setImage(bytes.data(), static_cast<unsigned int>(bytes.size()));
}

class CoverCacheTest : public testing::Test {
protected:
    CoverCacheTest() {
        ::setenv("STATE_DIRECTORY", folder_.path().c_str(), 1); // NOLINT(concurrency-mt-unsafe)
        cache_.CheckDatabase();
    }

    int keep(SongInfo song, const std::string& bytes, bool replace = true) {
        attach(song, bytes);
        return cache_.Store(song, replace);
    }

    std::string shown(int id) {
        util::Image image;
        return cache_.GetImage(id, &image) ? pngOf(image) : "(none)";
    }

    tests::TemporaryFolder folder_;
    CoverCache cache_;
    const SongInfo lanterns_{"Lowbeam", "Quiet Harbour", "Paper Lanterns"};
};

TEST_F(CoverCacheTest, IsRefusedBeforeItIsOpened) {
    CoverCache closed;
    util::Image image;
    EXPECT_THROW((void)closed.GetImage(1, &image), util::Exception);
    closed.ShowCurrentCover();
}

TEST_F(CoverCacheTest, ShowsAPngToTheByte) {
    const std::string bytes = tests::png(tests::picture(20, 10));
    const int id = keep(lanterns_, bytes);
    ASSERT_GT(id, 0);
    EXPECT_EQ(shown(id), bytes);
}

TEST_F(CoverCacheTest, ShowsThePixelsOfAJpeg) {
    const std::string bytes = tests::jpeg(tests::picture(40, 30));
    const int id = keep(lanterns_, bytes);
    for (int round = 0; round < 2; ++round) { // the first one makes the PNG, the second one finds it
        const std::string delivered = shown(id);
        const tests::Picture expected(
            gdImageCreateFromJpegPtr(static_cast<int>(bytes.size()), const_cast<char*>(bytes.data())));
        const tests::Picture got(
            gdImageCreateFromPngPtr(static_cast<int>(delivered.size()), const_cast<char*>(delivered.data())));
        ASSERT_TRUE(got);
        EXPECT_EQ(gdImageCompare(expected.get(), got.get()) & GD_CMP_IMAGE, 0);
    }
}

TEST_F(CoverCacheTest, MakesAPngThatHasGoneAgain) {
    const int id = keep(lanterns_, tests::jpeg(tests::picture(40, 30)));
    const std::string first = shown(id);
    std::filesystem::remove_all(folder_.path() / "renditions");
    EXPECT_EQ(shown(id), first);
}

TEST_F(CoverCacheTest, MakesAPngThatWasDamagedAgain) {
    const int id = keep(lanterns_, tests::jpeg(tests::picture(40, 30)));
    const std::string first = shown(id);
    const std::filesystem::path file =
        std::filesystem::directory_iterator(folder_.path() / "renditions")->path();
    for (const std::string& damaged :
         {std::string(), first.substr(0, 50), std::string("x") + first.substr(1)}) {
        std::ofstream(file, std::ios::binary) << damaged;
        testing::internal::CaptureStderr();
        EXPECT_EQ(shown(id), first);
        EXPECT_NE(testing::internal::GetCapturedStderr().find("is made again"), std::string::npos);
        testing::internal::CaptureStderr();
        EXPECT_EQ(shown(id), first);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    }
}

TEST_F(CoverCacheTest, ShowsACoverAlsoWhenItsPngCantBeKept) {
    cache_.StoreParameter("renditionCacheBytes", "1");
    const int id = keep(lanterns_, tests::jpeg(tests::picture(40, 30)));
    EXPECT_NE(shown(id), "(none)");
    EXPECT_FALSE(std::filesystem::exists(folder_.path() / "renditions"));
}

TEST_F(CoverCacheTest, HasNoCoverUnderAnUnknownId) {
    for (const int id : {1, 0, -1, 2147483647})
        EXPECT_EQ(shown(id), "(none)");
}

TEST_F(CoverCacheTest, StoresNothingWithoutAnImageOrASong) {
    SongInfo song = lanterns_;
    EXPECT_EQ(cache_.Store(song, true), 0);
    EXPECT_EQ(keep(SongInfo("Lowbeam", "", ""), tests::png(tests::picture(2, 2))), 0);
    EXPECT_EQ(keep(SongInfo("", "Quiet Harbour", ""), tests::png(tests::picture(2, 2))), 0);
    EXPECT_GT(keep(SongInfo("", "", "Harbour Songs", true), tests::png(tests::picture(2, 2))), 0);
}

TEST_F(CoverCacheTest, ReplacesOrKeepsAsTold) {
    const std::string first = tests::png(tests::picture(4, 4, 1));
    const std::string second = tests::png(tests::picture(4, 4, 2));
    const int id = keep(lanterns_, first);
    EXPECT_EQ(keep(lanterns_, second, false), id);
    EXPECT_EQ(shown(id), first);
    EXPECT_EQ(keep(lanterns_, second, true), id);
    EXPECT_EQ(shown(id), second);
}

TEST_F(CoverCacheTest, StoresAnImageThatWasScaledHere) {
    SongInfo song = lanterns_;
    attach(song, tests::jpeg(tests::picture(40, 30)));
    ASSERT_TRUE(song.getImage()->resample(8, 6));
    const int id = cache_.Store(song, true);
    EXPECT_EQ(song.getCacheId(), id);
    util::Image image;
    ASSERT_TRUE(cache_.GetImage(id, &image));
    EXPECT_EQ(image.width(), 8);
    EXPECT_EQ(image.height(), 6);
}

TEST_F(CoverCacheTest, LookupRegistersAValidSongThatIsNew) {
    SongInfo song = lanterns_;
    EXPECT_FALSE(cache_.Lookup(song));
    EXPECT_GT(song.getCacheId(), 0);
    EXPECT_NE(cache_.ShowEmpty().find("<Entry id=\"" + std::to_string(song.getCacheId()) + "\">"),
              std::string::npos);
    SongInfo nothing("Lowbeam", "", "");
    EXPECT_FALSE(cache_.Lookup(nothing));
    EXPECT_EQ(nothing.getCacheId(), 0);
}

TEST_F(CoverCacheTest, LookupFillsInWhatTheRecordLacks) {
    SongInfo song = lanterns_;
    song.setGenre("Folk");
    song.setFilename("/music/quiet.flac");
    song.setUid("u1");
    song.setImageUrl("http://covers.example/1.jpg");
    const int id = keep(song, tests::png(tests::picture(4, 4)));
    SongInfo asked("lowbeam", "quiet harbour", "");
    asked.setUid("mine");
    EXPECT_TRUE(cache_.Lookup(asked));
    EXPECT_EQ(asked.getCacheId(), id);
    EXPECT_EQ(asked.getAlbum(), "Paper Lanterns");
    EXPECT_EQ(asked.getGenre(), "Folk");
    EXPECT_EQ(asked.getFilename(), "/music/quiet.flac");
    EXPECT_EQ(asked.getImageUrl(), "http://covers.example/1.jpg");
    EXPECT_EQ(asked.getUid(), "mine");
    EXPECT_EQ(asked.getArtist(), "lowbeam");
}

TEST_F(CoverCacheTest, RefusesATextThatIsNoName) {
    SongInfo song(std::string(1'000'000, 'x'), "Quiet Harbour", "");
    try {
        cache_.Lookup(song);
        FAIL();
    } catch (util::Exception& e) {
        EXPECT_EQ(e.GetText(), "The artist is longer than 1024 bytes.");
    }
    EXPECT_EQ(cache_.ShowEmpty().find("<Entry"), std::string::npos);
}

TEST_F(CoverCacheTest, WhatWasStoredOnceIsAcceptedAgain) {
    const std::string growing(1000, '\xFF'); // twice as long in UTF-8
    SongInfo song("A", growing, "B");
    EXPECT_THROW(cache_.Lookup(song), util::Exception);
    song.setTitle(growing.substr(0, 512));
    cache_.Lookup(song);
    SongInfo again("A", "", "B");
    cache_.Lookup(again);
    EXPECT_EQ(again.getTitle().size(), 1024U);
    EXPECT_GT(keep(again, tests::png(tests::picture(2, 2))), 0);
}

TEST_F(CoverCacheTest, HoldsToTheLimitsThatAreSet) {
    SongInfo song = lanterns_;
    cache_.StoreParameter("maxImagePixels", "100");
    EXPECT_THROW(attach(song, tests::png(tests::picture(11, 10))), util::Exception);
    attach(song, tests::png(tests::picture(10, 10)));
    cache_.StoreParameter("maxImageBytes", "20");
    EXPECT_THROW(attach(song, tests::png(tests::picture(10, 10))), util::Exception);
}

TEST_F(CoverCacheTest, ShowsWhatWasAcceptedAlsoAfterTheLimitsWereLowered) {
    const int id = keep(lanterns_, tests::jpeg(tests::picture(40, 30)));
    cache_.StoreParameter("maxImagePixels", "1");
    cache_.StoreParameter("maxImageBytes", "1");
    EXPECT_NE(shown(id), "(none)");
}

TEST_F(CoverCacheTest, QueryListsEntriesWithTheirImageAndJobs) {
    const int id = keep(lanterns_, tests::png(tests::picture(4, 3)));
    cache_.WriteCoverTag(id, "/music/<a>.flac", true);
    cache_.CreateDeleteJob(id);
    std::string document;
    EXPECT_TRUE(tests::comesTrue([&] {
        document = cache_.Query("lowbeam", "", "");
        return document.find("kind=\"delete\" state=\"failed\"") != std::string::npos;
    }));
    EXPECT_NE(document.find("<Query total=\"1\">"), std::string::npos) << document;
    EXPECT_NE(document.find("width=\"4\" height=\"3\""), std::string::npos) << document;
    EXPECT_NE(document.find("kind=\"writeTag\" state=\"failed\" file=\"/music/&lt;a&gt;.flac\""),
              std::string::npos)
        << document;
    EXPECT_NE(cache_.Query("nobody", "", "").find("<Query total=\"0\">"), std::string::npos);
}

TEST_F(CoverCacheTest, QueryIsCutAtItsLimit) {
    for (const char* title : {"One", "Two", "Three"}) {
        SongInfo song("Ada", title, "");
        cache_.Lookup(song);
    }
    cache_.StoreParameter("queryLimit", "2");
    const std::string document = cache_.Query("", "", "");
    EXPECT_NE(document.find("<Query total=\"3\">"), std::string::npos);
    EXPECT_EQ(document.find("One"), std::string::npos);
    EXPECT_NE(document.find("Three"), std::string::npos);
}

TEST_F(CoverCacheTest, WhatIsListedAsStoredWasFlushed) {
    cache_.StoreParameter("queryLimit", "7");
    cache_.DeleteParameter("lookupTimeout");
    const int before = tests::Flushes::count;
    EXPECT_NE(cache_.ReadParameters().find(">7<"), std::string::npos);
    EXPECT_GT(tests::Flushes::count, before);

    cache_.StoreParameter("queryLimit", "8");
    tests::Flushes::failed = true;
    EXPECT_THROW((void)cache_.ReadParameters(), util::Exception);
    tests::Flushes::failed = false;
    EXPECT_NE(cache_.ReadParameters().find(">8<"), std::string::npos);
}

TEST_F(CoverCacheTest, ParametersAreListedSetAndDeleted) {
    cache_.StoreParameter("b<", "1 & 2");
    cache_.StoreParameter("a", "caf\xE9");
    EXPECT_EQ(cache_.ReadParameters(), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Parameters>\n"
                                       "  <Parameter name=\"a\">caf\xC3\xA9</Parameter>\n"
                                       "  <Parameter name=\"b&lt;\">1 &amp; 2</Parameter>\n</Parameters>\n");
    cache_.DeleteParameter("b<");
    cache_.DeleteParameter("never there");
    EXPECT_EQ(cache_.ReadParameters().find("b&lt;"), std::string::npos);
    EXPECT_THROW(cache_.StoreParameter("big", std::string(1'000'000, 'x')), util::Exception);
}

} // namespace
