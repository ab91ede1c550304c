// SPDX-License-Identifier: MIT
#include "app/CoverCache.h"

#include "tests/cgi/contract/Png.h"
#include "tests/unit/TemporaryFolder.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>
#include <string>

namespace {

/** Provides a cache with an empty store in a temporary folder. */
class CoverCacheContract : public testing::Test {
protected:
    CoverCacheContract() {
        setenv("STATE_DIRECTORY", folder_.path().c_str(), 1); // NOLINT(concurrency-mt-unsafe): one thread
        cache_ = std::make_unique<CoverCache>();
    }

    CoverCache& cache() { return *cache_; }

    static SongInfo song() {
        SongInfo song;
        song.setArtist("Lowbeam");
        song.setTitle("Quiet Harbour");
        song.setAlbum("Paper Lanterns");
        return song;
    }

private:
    tests::TemporaryFolder folder_;
    std::unique_ptr<CoverCache> cache_;
};

} // namespace

TEST_F(CoverCacheContract, ChecksAnEmptyStore) { EXPECT_TRUE(cache().CheckDatabase()); }

TEST_F(CoverCacheContract, StoresASongWithAnImage) {
    cache().CheckDatabase();
    SongInfo stored = song();
    stored.setImage(onePixelPng, sizeof onePixelPng);
    cache().Lookup(stored);
    const int id = cache().Store(stored, true);
    ASSERT_GT(id, 0);
    stored.setImage(nullptr, 0);

    util::Image image;
    EXPECT_TRUE(cache().GetImage(id, &image));
    EXPECT_TRUE(image.isValid());
}

TEST_F(CoverCacheContract, StoresNoSongWithoutAnImage) {
    cache().CheckDatabase();
    SongInfo imageless = song();
    EXPECT_EQ(cache().Store(imageless, true), 0);
}

TEST_F(CoverCacheContract, StoresNoImageWithoutASong) {
    cache().CheckDatabase();
    SongInfo nameless;
    nameless.setImage(onePixelPng, sizeof onePixelPng);
    EXPECT_EQ(cache().Store(nameless, true), 0);
}

TEST_F(CoverCacheContract, HasNoCoverWithoutAnId) {
    cache().CheckDatabase();
    util::Image image;
    EXPECT_FALSE(cache().GetImage(0, &image));
    EXPECT_FALSE(cache().GetImage(-1, &image));
    EXPECT_FALSE(image.isValid());
}

TEST_F(CoverCacheContract, LooksUpNothingInAnEmptyStore) {
    cache().CheckDatabase();
    SongInfo unknown = song();
    EXPECT_FALSE(cache().Lookup(unknown));
    EXPECT_EQ(unknown.getTitle(), "Quiet Harbour");
}

TEST_F(CoverCacheContract, ShowCurrentCoverNeverThrows) {
    cache().CheckDatabase();
    EXPECT_NO_THROW(cache().ShowCurrentCover());
}

TEST_F(CoverCacheContract, EveryListIsADocument) {
    cache().CheckDatabase();
    for (const std::string& document :
         {cache().Query("", "", ""), cache().Query("<&>", "\xFF\x01", "Quiet Harbour"), cache().ShowEmpty(),
          cache().ReadParameters()})
        EXPECT_EQ(document.rfind("<?xml version=\"1.0\"", 0), 0U) << document;
}

TEST_F(CoverCacheContract, TakesParametersOfAnyName) {
    cache().CheckDatabase();
    for (const char* name : {"queryLimit", "no such parameter", "", "<&>\xFF\n"}) {
        EXPECT_NO_THROW(cache().StoreParameter(name, "<&>\xFF\n"));
        EXPECT_NO_THROW(cache().StoreParameter(name, ""));
        EXPECT_NO_THROW(cache().DeleteParameter(name));
        EXPECT_NO_THROW(cache().DeleteParameter(name)) << "it is not there any more";
    }
}

TEST_F(CoverCacheContract, QueuesJobsForAnyIdAndPathUnderIdsOfTheirOwn) {
    cache().CheckDatabase();
    int last = 0;
    for (const char* path : {"/music/a.mp3", "/music/a.mp3", "", "../\xFF\n"}) {
        for (const int id : {1, 2147483647}) {
            const int job = cache().WriteCoverTag(id, path, true);
            EXPECT_GT(job, last);
            last = job;
        }
    }
    EXPECT_GT(cache().CreateDeleteJob(1), last);
}
