// SPDX-License-Identifier: MIT
#include "tests/unit/sources/Answers.h"
#include "tests/unit/sources/Asking.h"

namespace {

using namespace tests;

const std::string base = "https://itunes.test/search?term=";

std::unique_ptr<sources::Source> source() { return sources::itunes(parameters()); }

TEST(Itunes, AsksForTheAlbumElseForTheTitle) {
    EXPECT_EQ(urls(*source(), {.artist = "The Lowbeam", .album = "Paper & \"Lanterns\"", .title = "Sea"}),
              (Urls{base + "The%20Lowbeam%20Paper%20%26%20%22Lanterns%22&media=music&entity=album&limit=25",
                    base + "Lowbeam%20Paper%20%26%20%22Lanterns%22&media=music&entity=album&limit=25"}));
    EXPECT_EQ(
        urls(*source(), {.artist = "Lowbeam", .title = "Ночь / 夜"}),
        (Urls{base +
              "Lowbeam%20%D0%9D%D0%BE%D1%87%D1%8C%20%2F%20%E5%A4%9C&media=music&entity=song&limit=25"}));
    EXPECT_EQ(urls(*source(), {.artist = "Lowbeam", .album = "Slow Tides", .sampler = true}),
              (Urls{base + "Slow%20Tides&media=music&entity=album&limit=25"}));
    EXPECT_TRUE(source()->requests({.artist = "Lowbeam"}).empty());
}

TEST(Itunes, ReadsAlbums) {
    const std::vector<Candidate> expected{
        {.source = "itunes",
         .artist = "Lowbeam",
         .album = "Paper Lanterns",
         .kind = ReleaseKind::Album,
         .date = "2004-05-17",
         .releaseId = "1000000001",
         .page = "https://music.test/gb/album/paper-lanterns/1000000001?uo=4",
         .pictureUrl = "https://is1.test/image/cover.jpg/1200x1200bb.jpg",
         .thumbnailUrl = "https://is1.test/image/cover.jpg/250x250bb.jpg"},
        {.source = "itunes",
         .artist = "Lowbeam",
         .album = "Quiet Harbour",
         .kind = ReleaseKind::Single,
         .releaseId = "1000000002",
         .pictureUrl = "https://is1.test/image/other.png",
         .thumbnailUrl = "https://is1.test/image/other.png"}};
    EXPECT_EQ(source()->parse(answer(answers::itunesAlbums)), expected);
}

TEST(Itunes, ReadsSongs) {
    const auto found = source()->parse(answer(answers::itunesSongs));
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].artist, "Various Artists");
    EXPECT_EQ(found[0].trackArtist, "Lowbeam");
    EXPECT_EQ(found[0].title, "Quiet Harbour");
    EXPECT_EQ(found[0].album, "Slow Tides");
    EXPECT_EQ(found[0].kind, ReleaseKind::Compilation);
}

TEST(Itunes, LeavesOddArtworkAddressesAlone) {
    for (const char* odd : {"https://a.test/x100bb.jpg", "https://a.test/100x1a0bb.jpg",
                            "https://a.test/100x100bb.png", "https://a.test"}) {
        const auto found = source()->parse(
            answer(std::string(R"({"results":[{"collectionName":"a","artworkUrl100":")") + odd + "\"}]}"));
        ASSERT_EQ(found.size(), 1U);
        EXPECT_EQ(found[0].pictureUrl, odd);
    }
}

TEST(Itunes, RefusesWhatIsNoAnswer) {
    EXPECT_TRUE(source()->parse(answer(R"({"resultCount":0,"results":[]})")).empty());
    EXPECT_EQ(complaint(*source(), answer("", 403)), "busy: The service was asked too often.");
    EXPECT_TRUE(
        source()
            ->parse(answer(R"({"results":[7,null,[],{"collectionName":["a"]},{"collectionName":""}]})"))
            .empty());
    expectRefusals(*source());
}

TEST(Itunes, TakesNoMoreThanItShould) {
    std::string many = "{\"results\":[";
    for (int i = 0; i < 600; ++i)
        many += std::string(i == 0 ? "" : ",") + "{\"collectionName\":\"a\"}";
    EXPECT_EQ(source()->parse(answer(many + "]}")).size(), 500U);
}

} // namespace
