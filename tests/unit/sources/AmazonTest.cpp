// SPDX-License-Identifier: MIT
#include "sources/AmazonUrl.h"
#include "tests/unit/sources/Answers.h"
#include "tests/unit/sources/Asking.h"

namespace {

using namespace tests;

std::unique_ptr<sources::Source> source() { return sources::amazon(parameters()); }

const auto noon = std::chrono::system_clock::from_time_t(1'230'811'200); // 2009-01-01T12:00:00Z

std::string failure(const std::string& code) {
    return "<ItemSearchErrorResponse xmlns=\"http://ecs.amazonaws.com/doc/2009-01-06/\"><Error><Code>" +
           code + "</Code><Message>a</Message></Error></ItemSearchErrorResponse>";
}

TEST(AmazonSignature, IsTheDocumentedOne) {
    EXPECT_EQ(sources::amazonSignature(
                  "1234567890",
                  "GET\nwebservices.amazon.com\n/onca/xml\n"
                  "AWSAccessKeyId=00000000000000000000&ItemId=0679722769&Operation=ItemLookup&"
                  "ResponseGroup=ItemAttributes%2COffers%2CImages%2CReviews&Service=AWSECommerceService&"
                  "Timestamp=2009-01-01T12%3A00%3A00Z&Version=2009-01-06"),
              "Nace+U3Az4OhN7tISqgs1vdLBHBEijWcBeCqL5xN9xg=");
}

TEST(AmazonSearch, SignsAllArgumentsInTheOrderOfTheirNames) {
    const auto access = sources::amazonAccess(parameters({{"amazonUrl", "http://WebServices.test:8080/a"}}));
    ASSERT_TRUE(access);
    const auto request = sources::amazonSearch(*access, {"Low & Beam", "Nacht~*"}, 2, noon);
    EXPECT_EQ(request.url,
              "http://WebServices.test:8080/a/onca/xml?Artist=Low%20%26%20Beam&AssociateTag=tag-20&"
              "ItemPage=2&Operation=ItemSearch&ResponseGroup=ItemAttributes%2CImages&SearchIndex=Music&"
              "Service=AWSECommerceService&Title=Nacht~%2A&Version=2013-08-01");
    const std::string signature = sources::amazonSignature(
        "1234567890",
        "GET\nwebservices.test\n/a/onca/xml\n"
        "AWSAccessKeyId=00000000000000000000&Artist=Low%20%26%20Beam&AssociateTag=tag-20&"
        "ItemPage=2&Operation=ItemSearch&ResponseGroup=ItemAttributes%2CImages&SearchIndex=Music&"
        "Service=AWSECommerceService&Timestamp=2009-01-01T12%3A00%3A00Z&Title=Nacht~%2A&"
        "Version=2013-08-01");
    EXPECT_EQ(request.secretQuery.substr(0, request.secretQuery.find("&Signature=")),
              "&AWSAccessKeyId=00000000000000000000&Timestamp=2009-01-01T12%3A00%3A00Z");
    std::string escaped = signature;
    for (const auto& [plain, written] : {std::pair{'+', "%2B"}, {'/', "%2F"}, {'=', "%3D"}})
        for (auto at = escaped.find(plain); at != std::string::npos; at = escaped.find(plain))
            escaped.replace(at, 1, written);
    EXPECT_TRUE(request.secretQuery.ends_with("&Signature=" + escaped)) << request.secretQuery;
}

TEST(AmazonSearch, StaysWithinThePagesThatThereAre) {
    const auto access = sources::amazonAccess(parameters());
    const auto page = [&](int number) {
        const std::string url = sources::amazonSearch(*access, {"", "a"}, number, noon).url;
        const auto begin = url.find("ItemPage=");
        return url.substr(begin, url.find('&', begin) - begin);
    };
    EXPECT_EQ(page(-5), "ItemPage=1");
    EXPECT_EQ(page(10), "ItemPage=10");
    EXPECT_EQ(page(11), "ItemPage=10");
}

TEST(Amazon, AsksForAlbums) {
    EXPECT_EQ(
        urls(*source(), {.artist = "Lowbeam", .album = "Slow", .sampler = true}),
        (Urls{
            "http://webservices.amazon.com/onca/xml?AssociateTag=tag-20&ItemPage=1&Operation=ItemSearch&"
            "ResponseGroup=ItemAttributes%2CImages&SearchIndex=Music&Service=AWSECommerceService&Title=Slow&"
            "Version=2013-08-01"}));
    EXPECT_EQ(source()->requests({.artist = "The Lowbeam", .album = "Slow"}).size(), 2U);
    EXPECT_TRUE(source()->requests({.artist = "Lowbeam", .title = "Quiet Harbour"}).empty());
    EXPECT_EQ(sources::amazon(parameters({{"amazonKey", ""}})), nullptr);
    EXPECT_EQ(sources::amazon(parameters({{"amazonSecret", ""}})), nullptr);
    EXPECT_NE(sources::amazon(parameters({{"amazonTag", ""}})), nullptr);
}

TEST(Amazon, ReadsItems) {
    const std::vector<Candidate> expected{{.source = "amazon",
                                           .artist = "Lowbeam, Ada Vinter",
                                           .album = "Paper Lanterns",
                                           .releaseId = "B000000001",
                                           .page = "http://www.amazon.test/dp/B000000001",
                                           .pictureUrl = "http://ecx.test/images/I/51a.jpg",
                                           .thumbnailUrl = "http://ecx.test/images/I/51a._SL160_.jpg",
                                           .widthPixels = 498,
                                           .heightPixels = 500}};
    EXPECT_EQ(source()->parse(answer(answers::amazon)), expected);
    EXPECT_TRUE(source()->parse(answer(answers::amazonNothing)).empty());
}

TEST(Amazon, AsksForThePictureAsItWasUploaded) {
    const auto read = [](const std::string& image) {
        const auto found =
            source()->parse(answer("<ItemSearchResponse><Items><Item><LargeImage>" + image +
                                   "</LargeImage><ItemAttributes><Title>a</Title></ItemAttributes>"
                                   "</Item></Items></ItemSearchResponse>"));
        return found.empty() ? Candidate{} : found.front();
    };
    const Candidate scaled =
        read("<URL>http://a.test/5._SL500_.jpg</URL><Width>500</Width><Height>500</Height>");
    EXPECT_EQ(scaled.pictureUrl, "http://a.test/5.jpg");
    EXPECT_EQ(scaled.widthPixels, 0);
    EXPECT_EQ(read("<URL>http://a.test/5._SLx_.jpg</URL>").pictureUrl, "http://a.test/5._SLx_.jpg");
    EXPECT_EQ(read("<URL>http://a.test/5._SL500</URL>").pictureUrl, "http://a.test/5._SL500");
    EXPECT_EQ(read("<URL>http://a.test/1.gif</URL><Width>1</Width><Height>1</Height>").pictureUrl, "");
    EXPECT_EQ(read("<URL>ftp://a.test/1.gif</URL><Width>7</Width><Height>8</Height>").widthPixels, 0);
}

TEST(Amazon, TellsItsErrorsApart) {
    EXPECT_EQ(complaint(*source(), answer(failure("RequestThrottled"), 503)),
              "busy: The service has too much to do.");
    EXPECT_EQ(complaint(*source(), answer(failure("SignatureDoesNotMatch"), 403)),
              "The service doesn't accept the key and the secret that are set for it.");
    EXPECT_EQ(complaint(*source(), answer(failure("Other"), 400)), "The service reports an error.");
    EXPECT_EQ(complaint(*source(), answer(failure("RequestThrottled"))),
              "busy: The service was asked too often.");
}

TEST(Amazon, RefusesWhatIsNoAnswer) { expectRefusals(*source()); }

} // namespace
