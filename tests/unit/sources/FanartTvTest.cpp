// SPDX-License-Identifier: MIT
#include "tests/unit/sources/Answers.h"
#include "tests/unit/sources/Asking.h"

namespace {

using namespace tests;

std::unique_ptr<sources::PictureSource> source() { return sources::fanartTv(parameters()); }

TEST(FanartTv, AsksOnlyForCanonicalGroups) {
    const auto request = source()->request({.groupId = "3a6c9e20-75d3-4b66-9f2d-4e6b7c8d3001"});
    ASSERT_TRUE(request);
    EXPECT_EQ(sources::fullUrl(*request),
              "https://fanart.test/v3/music/albums/3a6c9e20-75d3-4b66-9f2d-4e6b7c8d3001?api_key=k4");
    EXPECT_EQ(request->url.find("k4"), std::string::npos);
    EXPECT_TRUE(request->headers.empty()) << "libcurl would take it along to wherever a redirect leads";
    EXPECT_FALSE(source()->request({}));
    EXPECT_FALSE(source()->request({.groupId = "../../x"}));
    EXPECT_EQ(sources::fanartTv(parameters({{"fanartTvKey", ""}})), nullptr);
}

TEST(FanartTv, ReadsBothFormsOfAnswers) {
    const std::vector<Candidate> expected{
        {.source = "fanarttv",
         .pictureUrl = "https://assets.test/fanart/music/a/albumcover/p.jpg",
         .thumbnailUrl = "https://assets.test/preview/music/a/albumcover/p.jpg",
         .widthPixels = 1000,
         .heightPixels = 1000},
        {.source = "fanarttv",
         .pictureUrl = "https://assets.test/q.jpg",
         .widthPixels = 1000,
         .heightPixels = 1000}};
    EXPECT_EQ(source()->parse(answer(answers::fanartTv)), expected);
    const auto newer = source()->parse(answer(answers::fanartTvNewer));
    ASSERT_EQ(newer.size(), 1U);
    EXPECT_EQ(newer[0].pictureUrl, "https://assets.test/fanart/p.jpg");
}

TEST(FanartTv, TakesNoCoversOfOtherAlbums) {
    const std::string one = R"({"albumcover":[{"url":"https://a.test/a.jpg"}]})";
    EXPECT_EQ(source()->parse(answer("{\"albums\":[" + one + "]}")).size(), 1U);
    EXPECT_TRUE(source()->parse(answer("{\"albums\":[" + one + "," + one + "]}")).empty());
    EXPECT_TRUE(source()->parse(answer("{\"albums\":[]}")).empty());
}

TEST(FanartTv, RefusesWhatIsNoAnswer) {
    EXPECT_TRUE(source()->parse(answer(R"({"status":"error"})", 404)).empty());
    EXPECT_TRUE(source()->parse(answer(R"({"albums":[{"albumcover":[7,{},{"url":"ftp://a"}]}]})")).empty());
    expectRefusals(*source());
}

} // namespace
