// SPDX-License-Identifier: MIT
#include "sources/Fields.h"
#include "net/Url.h"
#include "sources/Json.h"
#include "sources/Lucene.h"
#include "sources/Names.h"
#include "tests/unit/sources/Asking.h"

#include <gtest/gtest.h>

namespace {

using matching::Candidate;
using matching::Question;
using matching::ReleaseKind;
using namespace sources;

TEST(WebAddressFrom, TakesWholeHttpUrls) {
    for (const char* good : {"http://a.test", "https://a.test/b?c=d#e", "https://a.test/\xC3\xBC"})
        EXPECT_EQ(webAddressFrom(good), good);
    for (const char* bad : {"", "http://", "https:///etc/passwd", "http://?a", "ftp://a.test",
                            "file:///etc/passwd", "javascript:alert(1)", "//a.test/b", "/b", "HTTP//a",
                            " http://a.test", "http://a.test/b c", "http://a.test/\n", "http://a.test/\"",
                            "http://a.test/<b>", "http:/\\a.test", "data:image/png;base64,aaaa"})
        EXPECT_EQ(webAddressFrom(bad), "") << bad;
    EXPECT_EQ(webAddressFrom("http://a.test/" + std::string(net::maxWebAddressBytes, 'a')), "");
}

TEST(NameFrom, DropsWhatNobodyIsCalled) {
    EXPECT_EQ(nameFrom(std::string(1024, 'a')), std::string(1024, 'a'));
    EXPECT_EQ(nameFrom(std::string(1025, 'a')), "");
}

TEST(DateFrom, TakesWhatIsThereOfADate) {
    EXPECT_EQ(dateFrom("2004-05-17T07:00:00Z"), "2004-05-17");
    EXPECT_EQ(dateFrom("2004-05"), "2004-05");
    EXPECT_EQ(dateFrom("2004"), "2004");
    EXPECT_EQ(dateFrom("2004-??"), "2004");
    for (const char* bad : {"", "0", "0000", "0000-00-00", "04", "May 2004", "20x4"})
        EXPECT_EQ(dateFrom(bad), "") << bad;
}

TEST(IsMbid, WantsTheCanonicalForm) {
    EXPECT_TRUE(isMbid("3a6c9e20-75d3-4b66-9f2d-4e6b7c8d3001"));
    for (const char* bad : {"", "3A6C9E20-75D3-4B66-9F2D-4E6B7C8D3001", "3a6c9e20-75d3-4b66-9f2d-4e6b7c8d300",
                            "3a6c9e20-75d3-4b66-9f2d-4e6b7c8d30011", "3a6c9e20_75d3_4b66_9f2d_4e6b7c8d3001",
                            "../../../../../../../../../etc/passwd", "3g6c9e20-75d3-4b66-9f2d-4e6b7c8d3001"})
        EXPECT_FALSE(isMbid(bad)) << bad;
}

TEST(KindNamed, KnowsWhatServicesWrite) {
    EXPECT_EQ(kindNamed(""), ReleaseKind::Unknown);
    EXPECT_EQ(kindNamed("Album"), ReleaseKind::Album);
    EXPECT_EQ(kindNamed("ep"), ReleaseKind::Single);
    EXPECT_EQ(kindNamed("Maxi-Single"), ReleaseKind::Single);
    EXPECT_EQ(kindNamed("compile"), ReleaseKind::Compilation);
    EXPECT_EQ(kindNamed("DJ-mix"), ReleaseKind::Other);
}

TEST(TellingKind, PrefersWhatSetsAnAlbumApart) {
    EXPECT_EQ(tellingKind({}), ReleaseKind::Unknown);
    EXPECT_EQ(tellingKind({ReleaseKind::Album, ReleaseKind::Live}), ReleaseKind::Live);
    EXPECT_EQ(tellingKind({ReleaseKind::Live, ReleaseKind::Compilation}), ReleaseKind::Compilation);
}

TEST(Json, RefusesWhatIsTooDeep) {
    const auto nested = [](std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); };
    EXPECT_TRUE(json::tryParse(nested(32)));
    EXPECT_FALSE(json::tryParse(nested(33)));
    EXPECT_TRUE(json::tryParse("\"" + std::string(100, '[') + "\\\"" + std::string(100, '{') + "\""));
}

TEST(Json, ReadsWhatIsNotUtf8AsWindows1252) {
    EXPECT_EQ(json::text(json::parse("{\"a\":\"caf\xE9\"}"), "a"), "café");
}

TEST(Json, FindsNothingInWrongTypes) {
    for (const char* document :
         {"null", "7", "\"a\"", "[]", "[{\"a\":\"b\"}]", "{\"a\":7.5}", "{\"a\":-7}", "{\"a\":[\"b\"]}"}) {
        const auto value = json::parse(document);
        EXPECT_EQ(json::text(value, "a"), "") << document;
        EXPECT_EQ(json::digits(value, "a"), "") << document;
        EXPECT_TRUE(json::members(json::member(value, "a")).empty()) << document;
        EXPECT_TRUE(json::elements(json::member(value, "b")).empty()) << document;
    }
}

TEST(Json, TakesNumbersAndTextsOfDigits) {
    EXPECT_EQ(json::digits(json::parse("{\"a\":12345678901}"), "a"), "12345678901");
    EXPECT_EQ(json::digits(json::parse("{\"a\":\"12345678901\"}"), "a"), "12345678901");
    EXPECT_EQ(json::digits(json::parse("{\"a\":\"1/2\"}"), "a"), "");
    EXPECT_EQ(json::digits(json::parse("{\"a\":\"" + std::string(21, '1') + "\"}"), "a"), "");
}

TEST(Lucene, EscapesOnlyWhatEndsAPhrase) {
    EXPECT_EQ(lucene::phrase("release", R"(7" \ (a) [b] AND c/d: e*)"),
              R"(release:"7\" \\ (a) [b] AND c/d: e*")");
}

TEST(Lucene, EscapesAllThatMeansSomethingInAWord) {
    EXPECT_EQ(lucene::word(R"(+-&|!(){}[]^"~*?:\/a)"), R"(\+\-\&\|\!\(\)\{\}\[\]\^\"\~\*\?\:\\\/a)");
    EXPECT_EQ(lucene::word("AND"), "\\AND");
    EXPECT_EQ(lucene::word("OR"), "\\OR");
    EXPECT_EQ(lucene::word("NOT"), "\\NOT");
    EXPECT_EQ(lucene::word("not"), "not");
}

TEST(Lucene, LetsOnlyLongWordsBeMisspelt) {
    EXPECT_EQ(lucene::similar("artist", "of the moon"), "artist:(of AND the AND moon~)");
    EXPECT_EQ(lucene::similar("artist", "ночь"), "artist:(ночь~)");
    EXPECT_EQ(lucene::similar("artist", "сон"), "artist:(сон)");
    EXPECT_EQ(lucene::similar("artist", "!!!"), "artist:(\\!\\!\\!)");
}

TEST(Lucene, BoundsTheWords) {
    std::string many;
    for (int i = 0; i < 100; ++i)
        many += (i == 0 ? "" : " ") + std::string("aa");
    EXPECT_LT(lucene::similar("artist", many).size(), 130U);
}

TEST(AlbumNames, HaveEachSpellingOnce) {
    EXPECT_EQ(albumNames({.artist = "Lowbeam", .album = "Paper Lanterns"}),
              (std::vector<Names>{{"Lowbeam", "Paper Lanterns"}}));
    EXPECT_EQ(albumNames({.artist = "The Lowbeam", .album = "Paper Lanterns (Deluxe Edition)"}),
              (std::vector<Names>{{"The Lowbeam", "Paper Lanterns (Deluxe Edition)"},
                                  {"Lowbeam", "Paper Lanterns"}}));
}

TEST(AlbumNames, LeaveASamplersArtistOut) {
    const Question question{
        .artist = "Lowbeam", .album = "Slow Tides", .title = "Quiet Harbour", .sampler = true};
    EXPECT_EQ(albumNames(question), (std::vector<Names>{{"", "Slow Tides"}}));
    EXPECT_EQ(titleNames(question), (std::vector<Names>{{"Lowbeam", "Quiet Harbour"}}));
}

TEST(AlbumNames, AreNoneOfBlanksAndOfWhatIsTooLong) {
    EXPECT_TRUE(albumNames({}).empty());
    EXPECT_TRUE(albumNames({.artist = "Lowbeam", .album = " \t"}).empty());
    EXPECT_TRUE(albumNames({.artist = "Lowbeam", .album = std::string(1025, 'a')}).empty());
    EXPECT_EQ(albumNames({.artist = " ", .album = "Paper Lanterns"}),
              (std::vector<Names>{{"", "Paper Lanterns"}}));
    EXPECT_EQ(albumNames({.artist = std::string(1025, 'a'), .album = "Paper"}),
              (std::vector<Names>{{"", "Paper"}}));
}

TEST(AlbumNames, AreNeverUsedUpByStopWords) {
    for (const char* name : {"The The", "(Remastered)", "Disc 2", "The"})
        for (const Names& names : albumNames({.album = name}))
            EXPECT_NE(names.work, "") << name;
}

TEST(FullUrl, PutsTheSecretsIn) {
    EXPECT_EQ(fullUrl({.url = "http://a.test/b?c"}), "http://a.test/b?c");
    EXPECT_EQ(fullUrl({.url = "http://a.test/{key}/b?c={key}", .secretQuery = "&d=e", .secretSegment = "f"}),
              "http://a.test/f/b?c={key}&d=e");
}

TEST(UsableKey, IsNoneThatWouldForgeAHeader) {
    const auto key = [](const std::string& value) {
        return usableKey(tests::parameters({{"lastFmKey", value}}), "lastFmKey");
    };
    EXPECT_EQ(key("aB3/+="), "aB3/+=");
    for (const char* bad : {"a\nHost: b", "a b", "a\r", "\xC3\xBC", "a\x7F"})
        EXPECT_EQ(key(bad), "") << bad;
}

TEST(NeedSuccess, HandsOnHowLongToWait) {
    net::HttpAnswer busy = tests::answer("", 503);
    busy.retryAfter = std::chrono::seconds(7);
    try {
        needSuccess(busy);
        FAIL() << "it isn't busy";
    } catch (const Busy& said) {
        EXPECT_EQ(said.retryAfter(), std::chrono::seconds(7));
    }
}

} // namespace
