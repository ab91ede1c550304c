// SPDX-License-Identifier: MIT
#include "tests/unit/sources/Answers.h"
#include "tests/unit/sources/Asking.h"

namespace {

using namespace tests;

std::unique_ptr<sources::Source> source() { return sources::discogs(parameters()); }

TEST(Discogs, AsksForAlbums) {
    const std::string base = "https://discogs.test/database/search?";
    EXPECT_EQ(urls(*source(), {.artist = "The Lowbeam", .album = "A/B"}),
              (Urls{base + "artist=The%20Lowbeam&release_title=A%2FB&type=release&per_page=25",
                    base + "artist=Lowbeam&release_title=A%2FB&type=release&per_page=25"}));
    EXPECT_EQ(urls(*source(), {.artist = "Lowbeam", .album = "Slow", .sampler = true}),
              (Urls{base + "release_title=Slow&type=release&per_page=25"}));
    EXPECT_TRUE(source()->requests({.artist = "Lowbeam", .title = "Quiet Harbour"}).empty());
}

TEST(Discogs, KeepsItsTokenApart) {
    const auto request = source()->requests({.artist = "a", .album = "b"}).front();
    EXPECT_EQ(request.headers, std::vector<std::string>{"Authorization: Discogs token=k3"});
    EXPECT_EQ(sources::fullUrl(request), request.url);
    EXPECT_EQ(sources::discogs(parameters({{"discogsToken", ""}})), nullptr);
}

TEST(Discogs, ReadsReleases) {
    const std::vector<Candidate> expected{{.source = "discogs",
                                           .artist = "Lowbeam",
                                           .album = "Paper Lanterns - Live",
                                           .kind = ReleaseKind::Single,
                                           .status = ReleaseStatus::Promotion,
                                           .date = "2004",
                                           .releaseId = "1",
                                           .page = "https://www.discogs.com/release/1",
                                           .pictureUrl = "https://i.test/h:600/a.jpeg",
                                           .thumbnailUrl = "https://i.test/h:150/a.jpeg"},
                                          {.source = "discogs",
                                           .artist = "Various Artists",
                                           .album = "Slow Tides",
                                           .kind = ReleaseKind::Compilation,
                                           .releaseId = "3",
                                           .page = "https://www.discogs.com/release/3"},
                                          {.source = "discogs",
                                           .artist = "Lowbeam",
                                           .album = "Oslo",
                                           .status = ReleaseStatus::Bootleg,
                                           .releaseId = "4",
                                           .page = "https://www.discogs.com/release/4"},
                                          {.source = "discogs", .album = "Untitled", .releaseId = "5"}};
    EXPECT_EQ(source()->parse(answer(answers::discogs)), expected);
}

TEST(Discogs, RefusesWhatIsNoAnswer) {
    EXPECT_TRUE(source()->parse(answer(R"({"results":[]})")).empty());
    EXPECT_TRUE(source()->parse(answer(R"({"results":[7,null,[],{"title":7},{"title":"a - "}]})")).empty());
    expectRefusals(*source());
}

} // namespace
