// SPDX-License-Identifier: MIT
#include "matching/Ranking.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

using matching::Candidate;
using matching::Judge;
using matching::leastScore;
using matching::Question;
using matching::ReleaseKind;
using matching::ReleaseStatus;

const Question albumQuestion{.artist = "Lowbeam", .album = "Paper Lanterns", .title = "Quiet Harbour"};
const Question titleQuestion{.artist = "Lowbeam", .title = "Quiet Harbour"};

Candidate album(const std::string& artist = "Lowbeam", const std::string& name = "Paper Lanterns") {
    return {.artist = artist, .album = name, .kind = ReleaseKind::Album, .status = ReleaseStatus::Official};
}

Candidate recording(const std::string& name = "Paper Lanterns", ReleaseKind kind = ReleaseKind::Album) {
    Candidate candidate = album("Lowbeam", name);
    candidate.title = "Quiet Harbour";
    candidate.kind = kind;
    return candidate;
}

Candidate ofVarious(const std::string& name, const std::string& trackArtist) {
    Candidate candidate = album("Various Artists", name);
    candidate.kind = ReleaseKind::Compilation;
    if (trackArtist.empty()) return candidate;
    candidate.trackArtist = trackArtist;
    candidate.title = "Quiet Harbour";
    return candidate;
}

double score(const Question& question, const Candidate& candidate) {
    return Judge(question).judge(candidate).score;
}

std::string reason(const Question& question, const Candidate& candidate) {
    return Judge(question).judge(candidate).reason;
}

TEST(Judge, GivesAlmostOneForWhatAgreesInAll) {
    EXPECT_GT(score(albumQuestion, album()), 0.98);
    EXPECT_LE(score(albumQuestion, album()), 1);
    EXPECT_GT(score(titleQuestion, recording()), 0.98);
}

TEST(Judge, KeepsAnotherArtistsAlbumOfTheSameNameOut) {
    EXPECT_LT(score(albumQuestion, album("The Ferrymen")), leastScore);
    EXPECT_LT(score(albumQuestion, album("Lowbeam Tribute Band")), leastScore);
    EXPECT_LT(score(albumQuestion, ofVarious("Paper Lanterns", "")), leastScore);
    EXPECT_LT(score(albumQuestion, ofVarious("Paper Lanterns", "The Ferrymen")), leastScore);
}

TEST(Judge, KeepsOtherAlbumsOfTheArtistOut) {
    for (const char* name :
         {"Paper Lanterns Live at Oslo", "Paper Lanterns II", "Paper Lanterns: The Remixes", "Glass Weather"})
        EXPECT_LT(score(albumQuestion, album("Lowbeam", name)), leastScore) << name;
}

TEST(Judge, TrustsAnAlbumMoreThatIsKnownToHaveTheTitle) {
    Candidate withTitle = album();
    withTitle.title = "Quiet Harbour";
    Candidate withOther = album();
    withOther.title = "Seven Bells";
    EXPECT_GT(score(albumQuestion, withTitle), score(albumQuestion, album()));
    EXPECT_GT(score(albumQuestion, album()), score(albumQuestion, withOther));
}

TEST(Judge, LetsTheAlbumsNameDecideBeforeItsKind) {
    Candidate exactCompilation = album();
    exactCompilation.kind = ReleaseKind::Compilation;
    EXPECT_GT(score(albumQuestion, exactCompilation),
              score(albumQuestion, album("Lowbeam", "Paper Lanterns (Deluxe)")));
    EXPECT_GT(score(albumQuestion, album()), score(albumQuestion, exactCompilation));
    EXPECT_GT(score(albumQuestion, album("Lowbeam", "Paper Lanterns (Deluxe)")),
              score(albumQuestion, album("Lowbeam", "Paper Lantrens")));
}

TEST(Judge, PrefersAKindWithoutAnAlbum) {
    const std::vector<ReleaseKind> kinds = {ReleaseKind::Album,      ReleaseKind::Single,
                                            ReleaseKind::Soundtrack, ReleaseKind::Live,
                                            ReleaseKind::Other,      ReleaseKind::Compilation};
    for (std::size_t i = 1; i < kinds.size(); ++i)
        EXPECT_GT(score(titleQuestion, recording("Any", kinds[i - 1])),
                  score(titleQuestion, recording("Any", kinds[i])));
    EXPECT_GE(score(titleQuestion, recording("Any", ReleaseKind::Compilation)), leastScore);
}

TEST(Judge, PrefersOfficialBeforePromotionBeforeBootleg) {
    Candidate promotion = album();
    promotion.status = ReleaseStatus::Promotion;
    Candidate bootleg = album();
    bootleg.status = ReleaseStatus::Bootleg;
    EXPECT_GT(score(albumQuestion, album()), score(albumQuestion, promotion));
    EXPECT_GT(score(albumQuestion, promotion), score(albumQuestion, bootleg));
}

TEST(Judge, PrefersTheLargerPictureAmongEquals) {
    Candidate large = album();
    large.widthPixels = large.heightPixels = 1200;
    Candidate small = album();
    small.widthPixels = small.heightPixels = 300;
    Candidate strange = album();
    strange.widthPixels = -5;
    EXPECT_GT(score(albumQuestion, large), score(albumQuestion, small));
    EXPECT_EQ(score(albumQuestion, strange), score(albumQuestion, album()));
}

TEST(Judge, NeedsArtistAndTitleWithoutAnAlbum) {
    Candidate other = recording();
    other.title = "Quiet Harbour (Northlight Remix)";
    EXPECT_LT(score(titleQuestion, other), leastScore);
    other = recording();
    other.artist = "The Ferrymen";
    EXPECT_LT(score(titleQuestion, other), leastScore);
    EXPECT_LT(score(titleQuestion, album()), leastScore) << "no title to compare";
    EXPECT_GE(score({.title = "Quiet Harbour"}, recording()), leastScore);
    EXPECT_GE(score({.artist = "Lowbeam"}, album()), leastScore);
    EXPECT_EQ(score({}, album()), 0);
}

TEST(Judge, FindsTheTrackOnAnAlbumOfVariousArtists) {
    const double onSampler = score(titleQuestion, ofVarious("Slow Tides", "Lowbeam"));
    EXPECT_GE(onSampler, leastScore);
    EXPECT_LT(onSampler, score(titleQuestion, recording("Best", ReleaseKind::Compilation)));
    EXPECT_LT(score(titleQuestion, ofVarious("Slow Tides", "The Ferrymen")), leastScore);
}

TEST(Judge, AsksNotForTheAlbumsArtistOfASampler) {
    const Question question{
        .artist = "Lowbeam", .album = "Slow Tides", .title = "Quiet Harbour", .sampler = true};
    EXPECT_GT(score(question, ofVarious("Slow Tides", "Lowbeam")), 0.98);
    EXPECT_GT(score(question, ofVarious("Slow Tides", "")), 0.98);
    EXPECT_GT(score(question, ofVarious("Slow Tides", "")),
              score(question, album("Harbour Radio", "Slow Tides")));
    EXPECT_GE(score(question, album("Harbour Radio", "Slow Tides")), leastScore);
    EXPECT_LT(score(question, ofVarious("Slow Tides 2", "Lowbeam")), leastScore);
    const Question byArtist{.artist = "Various Artists", .album = "Slow Tides"};
    EXPECT_GT(score(byArtist, ofVarious("Slow Tides", "")), 0.98);
}

TEST(Judge, FindsASamplersSongByItsArtistWithoutAnAlbum) {
    const Question question{.artist = "Lowbeam", .title = "Quiet Harbour", .sampler = true};
    EXPECT_GT(score(question, ofVarious("Slow Tides", "Lowbeam")), score(question, recording()));
    EXPECT_LT(score(question, ofVarious("Slow Tides", "The Ferrymen")), leastScore);
}

TEST(Judge, UnderstandsTheNoiseOfTags) {
    EXPECT_GT(score({.artist = "Lowbeam", .album = "Lowbeam - Paper Lanterns"}, album()), 0.9);
    EXPECT_GT(score({.artist = "Lowbeam", .album = "In the Mix"}, album("Lowbeam", "Lowbeam in the Mix")),
              0.9);
    EXPECT_GT(score({.artist = "Lowbeam", .album = "Unknown Album", .title = "Quiet Harbour"}, recording()),
              0.98);
    EXPECT_GE(score({.artist = "Lowbeam & Ada Vinter", .album = "Paper Lanterns"}, album()), leastScore);
    for (const char* title :
         {"03 Quiet Harbour", "03. Quiet Harbour", "3 - Quiet Harbour", "03_Quiet Harbour"})
        EXPECT_GT(score({.artist = "Lowbeam", .title = title}, recording()), 0.98) << title;
    EXPECT_LT(score({.artist = "Lowbeam", .title = "99 Quiet Harbours"}, recording()), leastScore);
    const Question single{.artist = "Lowbeam", .album = "Quiet Harbour - Single"};
    Candidate asSingle = album("Lowbeam", "Quiet Harbour");
    const Candidate asAlbum = asSingle;
    asSingle.kind = ReleaseKind::Single;
    EXPECT_GT(score(single, asSingle), score(single, asAlbum));
    const Question live{.artist = "Lowbeam", .title = "Quiet Harbour (Live at Oslo)"};
    Candidate bootleg = recording("Oslo", ReleaseKind::Live);
    bootleg.status = ReleaseStatus::Bootleg;
    EXPECT_GT(score(live, bootleg), score(live, recording()));
}

TEST(Judge, TrustsTheServiceWithAnArtistInAnotherScript) {
    Candidate candidate = album("Мария Светлова", "Белая река");
    candidate.title = "Белая река";
    const Question question{.artist = "Maria Svetlova", .title = "Белая река"};
    EXPECT_GE(score(question, candidate), leastScore);
    EXPECT_EQ(reason(question, candidate), "Title agrees; artist in another script; official album.");
    EXPECT_LT(score({.artist = "Анна Светлова", .title = "Белая река"}, candidate), leastScore);
    EXPECT_LT(score({.artist = "!?!", .title = "Белая река"}, candidate), leastScore);
    EXPECT_LT(score({.artist = "Maria Svetlova", .album = "Белая река"}, ofVarious("Белая река", "")),
              leastScore);
}

TEST(Judge, SaysWhatAgreesAndWhatDoesNot) {
    EXPECT_EQ(reason({.artist = "Lowbeam", .album = "Paper Lanterns"}, album()),
              "Artist and album agree; official album.");
    Candidate edition = album("Lowbeam", "Paper Lanterns (Deluxe Edition)");
    edition.kind = ReleaseKind::Compilation;
    edition.status = ReleaseStatus::Unknown;
    EXPECT_EQ(reason({.album = "Paper Lanterns"}, edition),
              "Album agrees without its edition note; compilation.");
    EXPECT_EQ(reason(albumQuestion, album("The Ferrymen", "Paper Lantrens")),
              "Album nearly agrees; artist differs; official album.");
    EXPECT_EQ(reason(titleQuestion, ofVarious("Slow Tides", "Lowbeam")),
              "Track artist and title agree; official compilation of various artists.");
    EXPECT_EQ(reason(titleQuestion, Candidate{}), "Artist unknown; title unknown; release.");
}

TEST(Judge, RemembersWhatItHasComparedAndTellsAllNamesApart) {
    Candidate first = ofVarious("Paper Lanterns", "Lowbeam");
    std::vector<Candidate> candidates{first};
    for (const auto member :
         {&Candidate::artist, &Candidate::trackArtist, &Candidate::album, &Candidate::title})
        (candidates.emplace_back(first)).*member = "Slow Tides";
    candidates.emplace_back(first).status = ReleaseStatus::Bootleg; // same names as the first
    candidates.emplace_back(first).widthPixels = 1;
    Question question = albumQuestion;
    for (const bool sampler : {false, true}) {
        question.sampler = sampler;
        Judge judge(question);
        for (int again = 0; again < 2; ++again)
            for (const Candidate& candidate : candidates) {
                EXPECT_EQ(judge.judge(candidate).score, score(question, candidate));
                EXPECT_EQ(judge.judge(candidate).reason, reason(question, candidate));
            }
    }
}

TEST(Rank, PutsTheBestFirstAndTheEarlierAmongEquals) {
    Candidate late = recording("Glass Weather");
    late.date = "2009";
    late.widthPixels = late.heightPixels = 1200;
    Candidate undated = recording("Undated");
    Candidate early = recording("Paper Lanterns");
    early.date = "2004-05-17";
    Candidate vague = recording("Vague");
    vague.date = "2004";
    Candidate single = recording("Quiet Harbour", ReleaseKind::Single);
    single.date = "2003";
    const auto ranked = Judge(titleQuestion).rank({undated, single, late, vague, early});
    std::vector<std::string> names(ranked.size());
    std::ranges::transform(ranked, names.begin(), [](const auto& one) { return one.candidate.album; });
    EXPECT_EQ(names, (std::vector<std::string>{"Glass Weather", "Paper Lanterns", "Vague", "Undated",
                                               "Quiet Harbour"}))
        << "the larger picture, then the dates";
    EXPECT_EQ(ranked.front().judgement.score, score(titleQuestion, late));
    EXPECT_EQ(ranked.front().judgement.reason, reason(titleQuestion, late));
}

} // namespace
