// SPDX-License-Identifier: MIT
#include "tests/unit/sources/Answers.h"
#include "tests/unit/sources/Asking.h"

namespace {

using namespace tests;

std::unique_ptr<sources::PictureSource> source() { return sources::coverArtArchive(parameters()); }

std::string picture(const std::string& images) {
    const auto found = source()->parse(answer("{\"images\":[" + images + "]}"));
    return found.empty() ? "" : found.front().pictureUrl;
}

TEST(CoverArtArchive, AsksOnlyForCanonicalGroups) {
    const auto request = source()->request({.groupId = "3a6c9e20-75d3-4b66-9f2d-4e6b7c8d3001"});
    ASSERT_TRUE(request);
    EXPECT_EQ(request->url, "https://caa.test/release-group/3a6c9e20-75d3-4b66-9f2d-4e6b7c8d3001");
    EXPECT_FALSE(source()->request({}));
    EXPECT_FALSE(source()->request({.groupId = "3A6C9E20-75D3-4B66-9F2D-4E6B7C8D3001"}));
    EXPECT_FALSE(source()->request({.releaseId = "3a6c9e20-75d3-4b66-9f2d-4e6b7c8d3001"}));
}

TEST(CoverArtArchive, FindsTheFront) {
    const std::vector<Candidate> expected{
        {.source = "coverartarchive",
         .pictureUrl = "https://coverartarchive.org/release/r/12345678901-1200.jpg",
         .thumbnailUrl = "https://coverartarchive.org/release/r/12345678901-250.jpg"}};
    EXPECT_EQ(source()->parse(answer(answers::coverArtArchive)), expected);
}

TEST(CoverArtArchive, TakesWhatThereIsOfAFront) {
    EXPECT_EQ(
        picture(R"({"front":true,"image":"https://a.test/a.jpg","thumbnails":{"small":"https://a.test/s"}})"),
        "https://a.test/a.jpg");
    EXPECT_EQ(picture(R"({"front":false,"types":["Front"],"image":"https://a.test/a.jpg"})"),
              "https://a.test/a.jpg");
    EXPECT_EQ(
        picture(
            R"({"front":true,"image":"https://a.test/a.PDF"},{"types":["Obi","Front"],"image":"https://a.test/b.png"})"),
        "https://a.test/b.png");
    EXPECT_EQ(picture(R"({"front":"true","types":"Front","image":"https://a.test/a.jpg"})"), "");
    EXPECT_EQ(picture(R"({"front":true,"image":"file:///etc/passwd"})"), "");
    EXPECT_EQ(picture(""), "");
}

TEST(CoverArtArchive, UpgradesItsOwnHostsOnly) {
    const auto upgraded = [](const std::string& url) {
        return picture(R"({"front":true,"image":")" + url + "\"}");
    };
    EXPECT_EQ(upgraded("http://coverartarchive.org/a.jpg"), "https://coverartarchive.org/a.jpg");
    EXPECT_EQ(upgraded("http://ia1.us.archive.org/a.jpg"), "https://ia1.us.archive.org/a.jpg");
    for (const char* other :
         {"http://127.0.0.1:8080/a.jpg", "http://notarchive.org/a.jpg", "http://archive.org.test/a.jpg",
          "http://archive.org:80/a.jpg", "http://a.test/archive.org/a.jpg"})
        EXPECT_EQ(upgraded(other), other);
}

TEST(CoverArtArchive, RefusesWhatIsNoAnswer) {
    EXPECT_TRUE(source()->parse(answer("<html>No cover art found</html>", 404)).empty());
    expectRefusals(*source());
}

} // namespace
