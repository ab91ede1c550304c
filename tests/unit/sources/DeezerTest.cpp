// SPDX-License-Identifier: MIT
#include "tests/unit/sources/Answers.h"
#include "tests/unit/sources/Asking.h"

namespace {

using namespace tests;

std::unique_ptr<sources::Source> source() { return sources::deezer(parameters()); }

TEST(Deezer, AsksForTheAlbumElseForTheTitle) {
    EXPECT_EQ(urls(*source(), {.artist = "The Lowbeam", .album = "Paper & [x]"}),
              (Urls{"https://deezer.test/search/album?q=The%20Lowbeam%20Paper%20%26%20%5Bx%5D&limit=25",
                    "https://deezer.test/search/album?q=Lowbeam%20Paper%20%26%20%5Bx%5D&limit=25"}));
    EXPECT_EQ(urls(*source(), {.artist = "Lowbeam", .title = "Été"}),
              (Urls{"https://deezer.test/search?q=Lowbeam%20%C3%89t%C3%A9&limit=25"}));
    EXPECT_EQ(urls(*source(), {.artist = "Lowbeam", .album = "Slow", .sampler = true}),
              (Urls{"https://deezer.test/search/album?q=Slow&limit=25"}));
    EXPECT_TRUE(source()->requests({}).empty());
}

TEST(Deezer, ReadsAlbums) {
    const std::vector<Candidate> expected{{.source = "deezer",
                                           .artist = "Lowbeam",
                                           .album = "Paper Lanterns",
                                           .kind = ReleaseKind::Single,
                                           .releaseId = "301",
                                           .page = "https://www.deezer.test/album/301",
                                           .pictureUrl = "https://cdn.test/images/cover/aa/1000x1000.jpg",
                                           .thumbnailUrl = "https://cdn.test/images/cover/aa/250x250.jpg",
                                           .widthPixels = 1000,
                                           .heightPixels = 1000},
                                          {.source = "deezer", // its cover is the placeholder
                                           .artist = "Various Artists",
                                           .album = "Bare",
                                           .kind = ReleaseKind::Compilation,
                                           .releaseId = "302"}};
    EXPECT_EQ(source()->parse(answer(answers::deezerAlbums)), expected);
}

TEST(Deezer, ReadsTracks) {
    const std::vector<Candidate> expected{{.source = "deezer",
                                           .artist = "Lowbeam",
                                           .album = "Paper Lanterns",
                                           .title = "Quiet Harbour",
                                           .trackArtist = "Lowbeam",
                                           .releaseId = "301",
                                           .pictureUrl = "https://cdn.test/images/cover/aa/500x500.jpg",
                                           .thumbnailUrl = "https://cdn.test/images/cover/aa/250x250.jpg",
                                           .widthPixels = 500,
                                           .heightPixels = 500}};
    EXPECT_EQ(source()->parse(answer(answers::deezerTracks)), expected);
}

TEST(Deezer, TellsItsErrorsApart) {
    const auto said = [](const std::string& error) {
        return complaint(*source(), answer("{\"error\":" + error + "}"));
    };
    EXPECT_EQ(said(R"({"type":"Exception","message":"Quota limit exceeded","code":4})"),
              "busy: The service was asked too often.");
    EXPECT_EQ(said(R"({"type":"DataException","message":"no data","code":800})"), "");
    EXPECT_EQ(said(R"({"code":500})"), "The service reports an error.");
    EXPECT_EQ(said("7"), "The service reports an error.");
}

TEST(Deezer, RefusesWhatIsNoAnswer) {
    EXPECT_TRUE(source()->parse(answer(R"({"data":[],"total":0})")).empty());
    EXPECT_TRUE(source()
                    ->parse(answer(R"({"data":[7,null,[],{"title":7},{"title":"a","album":{"title":[]}}]})"))
                    .empty());
    expectRefusals(*source());
}

} // namespace
