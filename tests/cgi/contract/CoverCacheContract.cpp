// SPDX-License-Identifier: MIT
#include "app/CoverCache.h"

#include "tests/cgi/contract/Png.h"
#include "tests/unit/TemporaryFolder.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>

namespace {

/** A cache over an empty store in a folder of its own. */
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

TEST_F(CoverCacheContract, ShowEmptyGivesADocument) {
    cache().CheckDatabase();
    EXPECT_EQ(cache().ShowEmpty().rfind("<?xml version=\"1.0\"", 0), 0U);
}

TEST_F(CoverCacheContract, ShowCurrentCoverNeverThrows) {
    cache().CheckDatabase();
    EXPECT_NO_THROW(cache().ShowCurrentCover());
}
