// SPDX-License-Identifier: MIT
#include "matching/RankedList.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using matching::Candidate;
using matching::Judge;
using matching::Ranked;

using Texts = std::vector<std::string>;

Candidate album(const std::string& source, const std::string& url,
                const std::string& name = "Paper Lanterns") {
    return {.source = source, .artist = "Lowbeam", .album = name, .pictureUrl = url};
}

Ranked atHand(double score, const std::string& url) {
    return {
        .candidate = album("file", url), .judgement = {.score = score, .reason = "Here."}, .alsoFrom = {}};
}

std::vector<Ranked> pictures(std::vector<Candidate> candidates, std::vector<Ranked> more = {}) {
    Judge judge({.artist = "Lowbeam", .album = "Paper Lanterns", .title = ""});
    return matching::rankedPictures(judge, std::move(candidates), std::move(more));
}

std::vector<Ranked> albums(std::vector<Candidate> candidates, std::vector<Ranked> more = {}) {
    for (Candidate& candidate : candidates)
        candidate.title = "Quiet Harbour";
    Judge judge({.artist = "Lowbeam", .album = "", .title = "Quiet Harbour"});
    return matching::rankedAlbums(judge, std::move(candidates), std::move(more));
}

Texts urls(const std::vector<Ranked>& list) {
    Texts result;
    for (const Ranked& ranked : list)
        result.push_back(ranked.candidate.pictureUrl);
    return result;
}

Texts names(const std::vector<Ranked>& list) {
    Texts result;
    for (const Ranked& ranked : list)
        result.push_back(ranked.candidate.album);
    return result;
}

TEST(RankedPictures, AreThoseThatFitTheBestFirst) {
    Candidate of = album("one", "http://a.test/1");
    of.artist = "The Ferrymen";
    const auto list = pictures({of,
                                album("one", ""),
                                album("one", "http://a.test/2", "Paper Lantern"),
                                album("one", "http://a.test/3"),
                                {}});
    EXPECT_EQ(urls(list), (Texts{"http://a.test/3", "http://a.test/2"}));
    EXPECT_GT(list[0].judgement.score, list[1].judgement.score);
    EXPECT_GE(list[1].judgement.score, matching::leastScore);
    EXPECT_EQ(list[0].judgement.reason, "Artist and album agree; release.");
    EXPECT_TRUE(list[0].alsoFrom.empty());
}

TEST(RankedPictures, PutWhatIsAtHandBeforeWhatIsWorse) {
    const auto found = pictures({album("one", "2"), album("one", "4", "Paper Lantern")});
    const double good = found[0].judgement.score;
    const double fair = found[1].judgement.score;
    const auto list =
        pictures({album("one", "2"), album("one", "4", "Paper Lantern")},
                 {atHand(0.1, "6"), atHand(good, "3"), atHand(fair - 0.01, "5"), atHand(1, "1")});
    EXPECT_EQ(urls(list), (Texts{"1", "2", "3", "4", "5", "6"})) << "even what scores little";
    EXPECT_EQ(list[0].judgement.reason, "Here.");
}

TEST(RankedPictures, HaveEachPictureOnceAndTellWhoElseNamedIt) {
    Candidate best = album("one", "https://a.test/1");
    best.page = "http://page.test/one";
    Candidate second = album("two", "http://a.test/1", "Paper Lantern");
    second.page = "http://page.test/two";
    second.thumbnailUrl = "http://a.test/small";
    second.date = "2004";
    second.groupId = "g";
    second.widthPixels = 600;
    second.heightPixels = 500;
    const auto list = pictures({second, album("two", "http://a.test/1", "Paper Lantern"), best,
                                album("one", "http://a.test/1"), album("one", "http://a.test/1?size=2")});
    ASSERT_EQ(urls(list), (Texts{"https://a.test/1", "http://a.test/1?size=2"}));
    EXPECT_EQ(list[0].alsoFrom, (Texts{"two"}));
    Candidate expected = best;
    expected.thumbnailUrl = second.thumbnailUrl;
    expected.date = second.date;
    expected.groupId = second.groupId;
    expected.widthPixels = second.widthPixels;
    expected.heightPixels = second.heightPixels;
    EXPECT_EQ(list[0].candidate, expected) << "it has what it lacked, and keeps the rest";
    EXPECT_TRUE(list[1].alsoFrom.empty());
}

TEST(RankedPictures, KeepTheSizeThatTheBestOneKnows) {
    Candidate best = album("one", "http://a.test/1");
    best.widthPixels = best.heightPixels = 1000;
    Candidate second = album("two", "http://a.test/1");
    second.widthPixels = second.heightPixels = 600;
    EXPECT_EQ(pictures({second, best}).front().candidate.widthPixels, 1000);
}

TEST(RankedPictures, AreThirtyAtMost) {
    std::vector<Candidate> candidates;
    candidates.reserve(42);
    for (int i = 0; i < 40; ++i)
        candidates.push_back(album("one", "http://a.test/" + std::to_string(i)));
    for (const char* url : {"http://a.test/29", "http://a.test/30"})
        candidates.push_back(album("two", url));
    const auto list = pictures(candidates);
    ASSERT_EQ(list.size(), matching::maxRanked);
    EXPECT_EQ(list.size(), 30U);
    EXPECT_EQ(list.back().candidate.pictureUrl, "http://a.test/29");
    EXPECT_EQ(list.back().alsoFrom, (Texts{"two"})) << "doubles are still noted";
}

TEST(RankedAlbums, HaveEachNameOfAnArtistOnce) {
    Candidate ofVarious = album("one", "", "Slow Tides");
    ofVarious.artist = "Various Artists";
    ofVarious.trackArtist = "Lowbeam";
    Candidate lanterns = album("one", "", "Paper Lanterns");
    lanterns.kind = matching::ReleaseKind::Album;
    const auto list = albums({album("two", "", "The Paper Lanterns (2011 Remaster)"), ofVarious, lanterns,
                              album("one", ""), album("one", "", "Slow Tides"), album("one", "", "")});
    EXPECT_EQ(names(list), (Texts{"Paper Lanterns", "Slow Tides", "Slow Tides"}));
    EXPECT_EQ(list[0].alsoFrom, (Texts{"two"}));
    EXPECT_EQ(list[1].candidate.artist, "Lowbeam");
    EXPECT_EQ(list[2].candidate.artist, "Various Artists");
}

TEST(RankedAlbums, NeedNoPictureAndNeedASongThatFits) {
    Judge judge({.artist = "Lowbeam", .album = "", .title = "Quiet Harbour"});
    Candidate song = album("one", "");
    song.title = "Another One";
    EXPECT_TRUE(matching::rankedAlbums(judge, {song, album("one", "http://a.test/1")}, {}).empty());
    song.title = "Quiet Harbour";
    EXPECT_EQ(matching::rankedAlbums(judge, {song}, {}).size(), 1U);
}

} // namespace
