// SPDX-License-Identifier: MIT
#include "tests/unit/sources/Answers.h"
#include "tests/unit/sources/Asking.h"

namespace {

using namespace tests;

const std::string base = "https://mb.test/ws/2/";

std::unique_ptr<sources::Source> source() { return sources::musicBrainz(parameters()); }

std::string first(const Question& question) {
    const auto all = urls(*source(), question);
    return all.empty() ? "" : all.front();
}

TEST(MusicBrainz, AsksForTheAlbumThenLessExactlyThenForTheTitle) {
    const Question question{
        .artist = "The Lowbeam", .album = "Paper Lanterns (Deluxe)", .title = "Quiet Sea"};
    EXPECT_EQ(
        urls(*source(), question),
        (Urls{base + "release?query=release%3A%22Paper%20Lanterns%20%28Deluxe%29%22%20AND%20artist%3A%22The%"
                     "20Lowbeam%22&limit=25",
              base + "release?query=release%3A%22Paper%20Lanterns%22%20AND%20artist%3A%22Lowbeam%22&limit=25",
              base + "release?query=release%3A%28paper~%20AND%20lanterns~%29%20AND%20artist%3A%28lowbeam~%29&"
                     "limit=25",
              base + "recording?query=recording%3A%22Quiet%20Sea%22%20AND%20artist%3A%22The%20Lowbeam%22&"
                     "limit=100",
              base + "recording?query=recording%3A%22Quiet%20Sea%22%20AND%20artist%3A%22Lowbeam%22&limit=100",
              base + "recording?query=recording%3A%28quiet~%20AND%20sea%29%20AND%20artist%3A%28lowbeam~%29&"
                     "limit=100"}));
}

TEST(MusicBrainz, AsksForASamplerWithoutItsArtist) {
    const Question question{.artist = "Lowbeam", .album = "Slow Tides", .title = "Harbour", .sampler = true};
    EXPECT_EQ(
        urls(*source(), question),
        (Urls{base + "release?query=release%3A%22Slow%20Tides%22&limit=25",
              base + "release?query=release%3A%28slow~%20AND%20tides~%29&limit=25",
              base + "recording?query=recording%3A%22Harbour%22%20AND%20artist%3A%22Lowbeam%22&limit=100",
              base +
                  "recording?query=recording%3A%28harbour~%29%20AND%20artist%3A%28lowbeam~%29&limit=100"}));
}

TEST(MusicBrainz, EscapesWhatNamesAreMadeOf) {
    EXPECT_EQ(first({.album = R"(7" AC/DC \ [x] & OR)"}),
              base +
                  "release?query=release%3A%227%5C%22%20AC%2FDC%20%5C%5C%20%5Bx%5D%20%26%20OR%22&limit=25");
    EXPECT_EQ(first({.album = "Émile"}), base + "release?query=release%3A%22%C3%89mile%22&limit=25");
    EXPECT_EQ(first({.album = "Ночь"}),
              base + "release?query=release%3A%22%D0%9D%D0%BE%D1%87%D1%8C%22&limit=25");
    EXPECT_EQ(first({.album = "夜"}), base + "release?query=release%3A%22%E5%A4%9C%22&limit=25");
    const auto symbols = urls(*source(), {.album = "!!!"});
    ASSERT_EQ(symbols.size(), 2U);
    EXPECT_EQ(symbols[1], base + "release?query=release%3A%28%5C%21%5C%21%5C%21%29&limit=25");
    const auto operators = urls(*source(), {.album = "AND OR NOT"});
    ASSERT_EQ(operators.size(), 2U);
    EXPECT_EQ(operators[1], base + "release?query=release%3A%28and%20AND%20or%20AND%20not%29&limit=25");
}

TEST(MusicBrainz, AsksNothingOfNothing) {
    EXPECT_TRUE(source()->requests({}).empty());
    EXPECT_TRUE(source()->requests({.artist = "Lowbeam"}).empty());
    EXPECT_TRUE(source()->requests({.artist = "Lowbeam", .album = " ", .title = "\t"}).empty());
    EXPECT_EQ(first({.artist = "The", .album = "The"}),
              base + "release?query=release%3A%22The%22%20AND%20artist%3A%22The%22&limit=25");
}

TEST(MusicBrainz, KeepsItsPace) {
    EXPECT_EQ(source()->pace().interval, std::chrono::seconds(1));
    EXPECT_EQ(source()->pace().burst, 1);
    const auto pause = [](const char* text) {
        return sources::musicBrainz(parameters({{"musicBrainzPause", text}}))->pace().interval.count();
    };
    EXPECT_EQ(pause("20"), 20);
    for (const char* bad : {"", "-1", "1s", " 1", "99999999999"})
        EXPECT_EQ(pause(bad), 1000) << bad;
}

TEST(MusicBrainz, ReadsReleases) {
    const std::vector<Candidate> expected{
        {.source = "musicbrainz",
         .artist = "Lowbeam & A. Vinter",
         .album = "Paper Lanterns",
         .kind = ReleaseKind::Album,
         .status = ReleaseStatus::Official,
         .date = "2004-05-17",
         .releaseId = "2f9b8d10-64c2-4a55-8e1c-3d5a6b7c2001",
         .groupId = "3a6c9e20-75d3-4b66-9f2d-4e6b7c8d3001",
         .page = "https://musicbrainz.org/release/2f9b8d10-64c2-4a55-8e1c-3d5a6b7c2001"}};
    EXPECT_EQ(source()->parse(answer(answers::musicBrainzReleases)), expected);
}

TEST(MusicBrainz, ReadsAllReleasesOfRecordings) {
    const auto found = source()->parse(answer(answers::musicBrainzRecordings));
    ASSERT_EQ(found.size(), 3U);
    EXPECT_EQ(found[0].title, "Quiet Harbour");
    EXPECT_EQ(found[0].artist, "Lowbeam");
    EXPECT_EQ(found[0].trackArtist, "Lowbeam");
    EXPECT_EQ(found[0].kind, ReleaseKind::Single);
    EXPECT_EQ(found[0].status, ReleaseStatus::Promotion);
    EXPECT_EQ(found[0].date, "2014");
    EXPECT_EQ(found[1].artist, "Various Artists");
    EXPECT_EQ(found[1].trackArtist, "Lowbeam");
    EXPECT_EQ(found[1].kind, ReleaseKind::Compilation);
    EXPECT_EQ(found[2].title, "Quiet Harbour (Oslo)");
    EXPECT_EQ(found[2].artist, "Lowbeam feat. Ada Vinter");
    EXPECT_EQ(found[2].kind, ReleaseKind::Other);
    EXPECT_EQ(found[2].status, ReleaseStatus::Bootleg);
    EXPECT_EQ(found[2].releaseId + found[2].groupId + found[2].page + found[2].date, "");
    EXPECT_TRUE(source()->parse(answer(answers::musicBrainzNothing)).empty());
}

TEST(MusicBrainz, GoesByNamespacesAndNotByPrefixes) {
    const std::string prefixed =
        R"(<m:metadata xmlns:m="http://musicbrainz.org/ns/mmd-2.0#" xmlns:x="http://other.test/"><m:release-list><m:release><x:title>Wrong</x:title><m:title>Right</m:title></m:release></m:release-list></m:metadata>)";
    const auto found = source()->parse(answer(prefixed));
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found.front().album, "Right");
    EXPECT_NE(complaint(*source(), answer("<metadata><release-list/></metadata>")), "");
}

TEST(MusicBrainz, RefusesWhatIsNoAnswer) {
    expectRefusals(*source());
    EXPECT_NE(complaint(*source(), answer("<error><text>Must retrieve at most 500</text></error>")), "");
    EXPECT_EQ(complaint(*source(), answer(R"({"error": "busy"})")), "The answer is no XML.");
}

TEST(MusicBrainz, TakesNoMoreThanItShould) {
    std::string many = R"(<metadata xmlns="http://musicbrainz.org/ns/mmd-2.0#"><release-list>)";
    for (int i = 0; i < 600; ++i)
        many += "<release><title>a</title></release>";
    many += "</release-list></metadata>";
    EXPECT_EQ(source()->parse(answer(many)).size(), 500U);
    const std::string longName =
        R"(<metadata xmlns="http://musicbrainz.org/ns/mmd-2.0#"><release-list><release><title>)" +
        std::string(1025, 'a') + "</title></release></release-list></metadata>";
    EXPECT_TRUE(source()->parse(answer(longName)).empty());
}

} // namespace
