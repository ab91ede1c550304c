// SPDX-License-Identifier: MIT
#include "tests/unit/sources/Answers.h"
#include "tests/unit/sources/Asking.h"

namespace {

using namespace tests;

std::unique_ptr<sources::Source> source() { return sources::audioDb(parameters()); }

TEST(AudioDb, AsksForAlbumsWithArtists) {
    const std::string base = "https://audiodb.test/api/v1/json/{key}/searchalbum.php?s=";
    EXPECT_EQ(urls(*source(), {.artist = "The Lowbeam", .album = "A {key}"}),
              (Urls{base + "The%20Lowbeam&a=A%20%7Bkey%7D", base + "Lowbeam&a=A%20%7Bkey%7D"}));
    EXPECT_EQ(urls(*source(), {.artist = "Lowbeam", .album = "Slow", .sampler = true}),
              (Urls{base + "Various%20Artists&a=Slow"}));
    EXPECT_TRUE(source()->requests({.album = "Slow"}).empty());
    EXPECT_TRUE(source()->requests({.artist = "Lowbeam", .title = "Quiet Harbour"}).empty());
}

TEST(AudioDb, KeepsItsKeyApart) {
    const auto request = source()->requests({.artist = "a", .album = "b"}).front();
    EXPECT_EQ(sources::fullUrl(request), "https://audiodb.test/api/v1/json/k%2F2/searchalbum.php?s=a&a=b");
    EXPECT_EQ(sources::audioDb(parameters({{"audioDbKey", ""}})), nullptr);
}

TEST(AudioDb, ReadsAlbums) {
    const std::vector<Candidate> expected{{.source = "audiodb",
                                           .artist = "Lowbeam",
                                           .album = "Paper Lanterns",
                                           .kind = ReleaseKind::Album,
                                           .date = "2004",
                                           .releaseId = "2100001",
                                           .groupId = "3a6c9e20-75d3-4b66-9f2d-4e6b7c8d3001",
                                           .pictureUrl = "https://r2.test/images/x.jpg",
                                           .thumbnailUrl = "https://r2.test/images/x.jpg/small"}};
    EXPECT_EQ(source()->parse(answer(answers::audioDb)), expected);
}

TEST(AudioDb, RefusesWhatIsNoAnswer) {
    EXPECT_TRUE(source()->parse(answer(R"({"album":null})")).empty());
    EXPECT_TRUE(source()->parse(answer(R"({"album":[7,null,[],{"strAlbum":7}]})")).empty());
    expectRefusals(*source());
}

} // namespace
