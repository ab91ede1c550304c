// SPDX-License-Identifier: MIT
#include "tests/unit/sources/Answers.h"
#include "tests/unit/sources/Asking.h"

namespace {

using namespace tests;

const std::string base = "https://lastfm.test/2.0/?method=";

std::unique_ptr<sources::Source> source() { return sources::lastFm(parameters()); }

TEST(LastFm, AsksWhatItCan) {
    EXPECT_EQ(urls(*source(), {.artist = "The Lowbeam", .album = "A & B"}),
              (Urls{base + "album.getInfo&artist=The%20Lowbeam&album=A%20%26%20B&autocorrect=1&format=json",
                    base + "album.getInfo&artist=Lowbeam&album=A%20%26%20B&autocorrect=1&format=json"}));
    EXPECT_EQ(urls(*source(), {.artist = "Lowbeam", .album = "Slow", .sampler = true}),
              (Urls{base + "album.search&album=Slow&limit=25&format=json"}));
    EXPECT_EQ(urls(*source(), {.artist = "Lowbeam", .title = "夜"}),
              (Urls{base + "track.getInfo&artist=Lowbeam&track=%E5%A4%9C&autocorrect=1&format=json"}));
    EXPECT_TRUE(source()->requests({.title = "Quiet Harbour"}).empty());
    EXPECT_TRUE(source()->requests({}).empty());
}

TEST(LastFm, KeepsItsKeyApart) {
    const auto request = source()->requests({.artist = "a", .album = "b"}).front();
    EXPECT_EQ(request.secretQuery, "&api_key=k%2F1");
    EXPECT_EQ(request.url.find("k%2F1"), std::string::npos);
    EXPECT_EQ(sources::lastFm(parameters({{"lastFmKey", ""}})), nullptr);
}

TEST(LastFm, ReadsAnAlbum) {
    const std::vector<Candidate> expected{{.source = "lastfm",
                                           .artist = "Lowbeam",
                                           .album = "Paper Lanterns",
                                           .releaseId = "2f9b8d10-64c2-4a55-8e1c-3d5a6b7c2001",
                                           .page = "https://www.last.test/music/Lowbeam/Paper+Lanterns",
                                           .pictureUrl = "https://l.test/i/u/0123.png",
                                           .thumbnailUrl = "https://l.test/i/u/174s/0123.png"}};
    EXPECT_EQ(source()->parse(answer(answers::lastFmAlbum)), expected);
}

TEST(LastFm, ReadsTheAlbumOfATrack) {
    const std::vector<Candidate> expected{{.source = "lastfm", // its picture is the placeholder
                                           .artist = "Lowbeam",
                                           .album = "Paper Lanterns",
                                           .title = "Quiet Harbour",
                                           .trackArtist = "Lowbeam",
                                           .page = "https://www.last.test/p"}};
    EXPECT_EQ(source()->parse(answer(answers::lastFmTrack)), expected);
    EXPECT_TRUE(source()->parse(answer(R"({"track":{"name":"Quiet Harbour"}})")).empty());
}

TEST(LastFm, ReadsASearch) {
    const auto found = source()->parse(answer(answers::lastFmSearch));
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].album, "Slow Tides");
    EXPECT_EQ(found[0].kind, ReleaseKind::Compilation);
    EXPECT_EQ(found[0].pictureUrl, "https://l.test/i/u/9.png");
}

TEST(LastFm, TellsItsErrorsApartWhateverTheStatus) {
    const auto said = [](int code, int status) {
        return complaint(*source(),
                         answer("{\"error\":" + std::to_string(code) + ",\"message\":\"a\"}", status));
    };
    for (const int status : {200, 403, 404, 500}) {
        EXPECT_EQ(said(6, status), "");
        EXPECT_EQ(said(10, status), "The service doesn't accept the key that is set for it.");
        EXPECT_EQ(said(29, status), "busy: The service has too much to do.");
        EXPECT_EQ(said(8, status), "The service reports an error.");
    }
    EXPECT_EQ(complaint(*source(), answer("<html>")), "The answer is no JSON.");
}

TEST(LastFm, GoesByTheStatusWhereTheErrorIsNoneOfItsOwn) {
    const auto said = [](int status) {
        return complaint(*source(), answer(R"({"error": "Please try again later."})", status));
    };
    EXPECT_EQ(said(503), "busy: The service has too much to do.");
    EXPECT_EQ(said(404), "The service answers with the status 404.");
    EXPECT_EQ(said(200), "The service reports an error.");
}

TEST(LastFm, RefusesWhatIsNoAnswer) { expectRefusals(*source()); }

} // namespace
