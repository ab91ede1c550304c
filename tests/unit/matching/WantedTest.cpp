// SPDX-License-Identifier: MIT
#include "matching/Wanted.h"

#include <gtest/gtest.h>

namespace {

using matching::isVarious;
using matching::ReleaseKind;
using matching::Wanted;
using matching::wantedBy;

TEST(WantedBy, LeavesANameAsItIs) {
    const Wanted wanted =
        wantedBy({.artist = "The Ferrymen", .album = "Salt & Cedar (Remastered)", .title = "Home"});
    EXPECT_EQ(wanted.artist, "The Ferrymen");
    EXPECT_EQ(wanted.album, "Salt & Cedar (Remastered)");
    EXPECT_EQ(wanted.title, "Home");
    EXPECT_FALSE(wanted.sampler);
    EXPECT_EQ(wanted.kind, ReleaseKind::Unknown);
}

TEST(WantedBy, KnowsNoNameByWhatMeansNone) {
    const Wanted wanted =
        wantedBy({.artist = "Unknown Artist", .album = "<unknown>", .title = "UNKNOWN TITLE"});
    EXPECT_EQ(wanted.artist + wanted.album + wanted.title, "");
}

TEST(WantedBy, TakesVariousArtistsForASampler) {
    const Wanted wanted = wantedBy({.artist = "VA", .album = "Slow Tides"});
    EXPECT_EQ(wanted.artist, "");
    EXPECT_TRUE(wanted.sampler);
}

TEST(WantedBy, TakesTheKindOffAnAlbum) {
    for (const char* album : {"Heat - Single", "Heat (EP)", "Heat [CD Single]", "Heat - EP"}) {
        const Wanted wanted = wantedBy({.album = album});
        EXPECT_EQ(wanted.album, "Heat") << album;
        EXPECT_EQ(wanted.kind, ReleaseKind::Single) << album;
    }
    for (const char* album : {"Single", "(EP)", "A Single - Step", "Single (Life)"})
        EXPECT_EQ(wantedBy({.album = album}).album, album);
    EXPECT_EQ(wantedBy({.album = "Night Ferry OST"}).kind, ReleaseKind::Soundtrack);
}

TEST(WantedBy, AsksForALiveAlbumOnlyWithoutAName) {
    EXPECT_EQ(wantedBy({.title = "Heat (Live at Oslo)"}).kind, ReleaseKind::Live);
    EXPECT_EQ(wantedBy({.title = "Heat (Live at Oslo)"}).title, "Heat");
    EXPECT_EQ(wantedBy({.title = "Heat - live"}).title, "Heat");
    EXPECT_EQ(wantedBy({.title = "Heat (Alive)"}).title, "Heat (Alive)");
    EXPECT_EQ(wantedBy({.title = "Live and Learn"}).title, "Live and Learn");
    EXPECT_EQ(wantedBy({.album = "Oslo", .title = "Heat (Live)"}).title, "Heat (Live)");
}

TEST(WantedBy, TakesTheNumberOffATitle) {
    for (const char* title : {"03 Heat", "03. Heat", "03-Heat", "3 - Heat", "103 - Heat", "03_Heat"})
        EXPECT_EQ(wantedBy({.title = title}).title, "Heat") << title;
    for (const char* title :
         {"99 Days", "1999", "007", "7 Seconds", "0", "3 -", "1984 - Heat", "03", "03rd Heat"})
        EXPECT_EQ(wantedBy({.title = title}).title, title);
}

TEST(IsVarious, KnowsTheUsualNames) {
    EXPECT_TRUE(isVarious("Various Artists"));
    EXPECT_TRUE(isVarious("various"));
    EXPECT_TRUE(isVarious("V.A."));
    EXPECT_FALSE(isVarious(""));
    EXPECT_FALSE(isVarious("The Various"));
}

} // namespace
