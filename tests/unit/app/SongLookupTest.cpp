// SPDX-License-Identifier: MIT
// What a song record finds out about its cover and its album, with a local server for all services.
#include "app/CoverCache.h"
#include "tests/unit/Pictures.h"
#include "tests/unit/TemporaryFolder.h"
#include "tests/unit/net/LoopbackServer.h"
#include "tests/unit/sources/Answers.h"
#include "util/Exception.h"

#include <SQLiteCpp/SQLiteCpp.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace {

namespace answers = tests::answers;
using Texts = std::vector<std::string>;

std::string answerTo(const std::string& path) {
    if (path.starts_with("/ws/2/recording")) return answers::musicBrainzRecordings;
    if (path.starts_with("/ws/2/release")) return answers::musicBrainzReleases;
    if (path.starts_with("/release-group/")) return answers::coverArtArchive;
    if (path.starts_with("/search/album")) return answers::deezerAlbums;
    if (path.starts_with("/search")) return answers::deezerTracks;
    if (path.starts_with("/onca/xml")) return answers::amazon;
    return "unknown";
}

/** Whatever stands between `begin` and the next `end`. */
Texts between(std::string_view document, std::string_view begin, std::string_view end) {
    Texts texts;
    for (auto at = document.find(begin); at != std::string_view::npos; at = document.find(begin, at)) {
        at += begin.size();
        texts.emplace_back(document.substr(at, document.find(end, at) - at));
    }
    return texts;
}

/** All texts of an element without attributes. */
Texts textsOf(const std::string& document, const std::string& element) {
    return between(document, '<' + element + '>', "</");
}

/** "deezer state=answered" */
Texts webSourcesOf(const std::string& document) {
    Texts names;
    for (std::string name : between(document, "<WebSource name=", " found=")) {
        std::erase(name, '"');
        names.push_back(std::move(name));
    }
    return names;
}

bool has(const Texts& texts, const std::string& text) {
    return std::ranges::find(texts, text) != texts.end();
}

class SongLookup : public testing::Test {
protected:
    SongLookup() {
        ::setenv("STATE_DIRECTORY", folder_.path().c_str(), 1); // NOLINT(concurrency-mt-unsafe)
        cache_.CheckDatabase();
        for (const char* name : {"musicBrainzUrl", "coverArtArchiveUrl", "deezerUrl", "amazonUrl"})
            cache_.StoreParameter(name, web_.url("/"));
        cache_.StoreParameter("musicBrainzPause", "1");
        cache_.StoreParameter("sources", "deezer");
    }

    void useAmazon() {
        cache_.StoreParameter("amazonKey", "00000000000000000000");
        cache_.StoreParameter("amazonSecret", "1234567890");
    }

    /** Puts a cover of the song into the cache. */
    void storeCover(SongInfo song) {
        const std::string bytes = tests::png(tests::picture(5, 4));
        song.setImage(bytes.data(), static_cast<unsigned int>(bytes.size()));
        EXPECT_GT(cache_.Store(song, true), 0);
    }

    Texts asked() {
        Texts paths;
        for (const auto& connection : web_.connections())
            for (const std::string& head : connection)
                paths.push_back(tests::pathOf(head));
        return paths;
    }

    tests::TemporaryFolder folder_;
    tests::LoopbackServer web_{[](tests::Client& client, const std::string& head) {
        client.send(tests::httpAnswer(answerTo(tests::pathOf(head))));
        return false;
    }};
    CoverCache cache_;
    SongInfo song_{"Lowbeam", "Quiet Harbour", "Paper Lanterns"};
};

TEST_F(SongLookup, CoverartInformationHasCoversAtHandAndOnTheWeb) {
    storeCover(song_);
    const std::string document = song_.getCoverartInformation();
    EXPECT_EQ(textsOf(document, "Source"), (Texts{"deezer", "current"})) << document;
    EXPECT_EQ(textsOf(document, "ImageUrl").front(), "https://cdn.test/images/cover/aa/1000x1000.jpg");
    EXPECT_EQ(webSourcesOf(document), (Texts{"deezer state=answered"}));
    EXPECT_EQ(webSourcesOf(song_.getCoverartInformation()), (Texts{"deezer state=kept"}));
    EXPECT_EQ(asked().size(), 1U);
    EXPECT_TRUE(asked().front().starts_with("/search/album?")) << "one slash, and not two";
}

TEST_F(SongLookup, AlbumNamesDoNotHeedTheSongsOwn) {
    song_.setAlbum("Something Else");
    storeCover(SongInfo("Lowbeam", "Quiet Harbour", "Glass Weather"));
    const std::string document = song_.guessAlbumNames();
    Texts names = textsOf(document, "Name");
    std::ranges::sort(names);
    EXPECT_EQ(names, (Texts{"Glass Weather", "Paper Lanterns"}));
    EXPECT_EQ(textsOf(document, "Album"), (Texts{"Something Else"})) << "the song as it was given";
    EXPECT_EQ(webSourcesOf(document), (Texts{"deezer state=answered"}));
    EXPECT_EQ(song_.getAlbum(), "Something Else") << "nothing is set";
}

TEST_F(SongLookup, NoPicturesAreAskedForWhereOnlyNamesAreSought) {
    cache_.StoreParameter("sources", "musicbrainz, coverartarchive");
    EXPECT_EQ(webSourcesOf(song_.guessAlbumNames()), (Texts{"musicbrainz state=answered"}));
    EXPECT_EQ(webSourcesOf(song_.getCoverartInformation()),
              (Texts{"musicbrainz state=answered", "coverartarchive state=answered"}));
}

TEST_F(SongLookup, GuessAlbumNameSetsAlbumScoreAndFlag) {
    SongInfo song("Lowbeam", "Quiet Harbour", "");
    EXPECT_TRUE(song.GuessAlbumName());
    EXPECT_EQ(song.getAlbum(), "Paper Lanterns");
    EXPECT_TRUE(song.isAlbumGuessed());
    EXPECT_GT(song.getGuessScore(), 0.5F);
    EXPECT_LE(song.getGuessScore(), 1.0F);
    EXPECT_NE(song.guessAlbumNames().find(fmt::format("score=\"{:.3f}\"", song.getGuessScore())),
              std::string::npos);
}

TEST_F(SongLookup, GuessAlbumNameChangesNothingWhereThereIsNone) {
    SongInfo song("The Ferrymen", "Another One", "Mine");
    const SongInfo before = song;
    EXPECT_FALSE(song.GuessAlbumName());
    EXPECT_EQ(song, before);
}

TEST_F(SongLookup, SearchCoverartSetsTheImageUrl) {
    EXPECT_TRUE(song_.SearchCoverart());
    EXPECT_EQ(song_.getImageUrl(), "https://cdn.test/images/cover/aa/1000x1000.jpg");
    cache_.StoreParameter("sources", "");
    storeCover(song_);
    EXPECT_TRUE(song_.SearchCoverart());
    EXPECT_TRUE(song_.getImageUrl().starts_with("cover:"));
    EXPECT_TRUE(song_.loadImage()) << "from there";
    EXPECT_EQ(song_.getImage()->width(), 5);
}

TEST_F(SongLookup, SearchCoverartLeavesTheImageUrlWhereThereIsNone) {
    SongInfo song("The Ferrymen", "Another One", "Mine");
    song.setImageUrl("http://i.test/");
    EXPECT_FALSE(song.SearchCoverart());
    EXPECT_EQ(song.getImageUrl(), "http://i.test/");
}

TEST_F(SongLookup, MBAlbumSearchAsksMusicBrainzAloneAboutItsArguments) {
    storeCover(song_);
    SongInfo other("Nobody", "Nothing", "None");
    const std::string document = other.MBAlbumSearch("Lowbeam", "Quiet Harbour");
    EXPECT_EQ(webSourcesOf(document), (Texts{"musicbrainz state=answered"}));
    EXPECT_TRUE(has(textsOf(document, "Name"), "Paper Lanterns")) << document;
    EXPECT_FALSE(has(textsOf(document, "Source"), "cache"));
    EXPECT_EQ(textsOf(document, "Title").front(), "Quiet Harbour");
    EXPECT_EQ(other.getAlbum(), "None");
}

TEST_F(SongLookup, XMLMBSearchAsksMusicBrainzAndItsArchive) {
    storeCover(song_);
    SongInfo other("Nobody", "Nothing", "None");
    const std::string document = other.XMLMBSearch("Lowbeam", "Paper Lanterns");
    EXPECT_EQ(webSourcesOf(document),
              (Texts{"musicbrainz state=answered", "coverartarchive state=answered"}));
    EXPECT_EQ(textsOf(document, "Source"), (Texts{"coverartarchive"})) << document;
    EXPECT_EQ(textsOf(document, "Album").front(), "Paper Lanterns");
}

TEST_F(SongLookup, XMLAWSSearchAsksForProducts) {
    EXPECT_TRUE(webSourcesOf(song_.XMLAWSSearch("Lowbeam", "Paper Lanterns")).empty()) << "without a key";
    EXPECT_TRUE(asked().empty());
    useAmazon();
    const std::string document = song_.XMLAWSSearch("Lowbeam", "Paper Lanterns");
    EXPECT_EQ(webSourcesOf(document), (Texts{"amazon state=answered"}));
    EXPECT_EQ(textsOf(document, "ImageUrl"), (Texts{"http://ecx.test/images/I/51a.jpg"}));
}

TEST_F(SongLookup, TheAmazonWebserviceURLIsASignedSearch) {
    EXPECT_THROW(song_.getAmazonWebserviceURL(1), util::Exception);
    useAmazon();
    cache_.StoreParameter("amazonUrl", "http://amazon.test");
    cache_.StoreParameter("amazonTag", "tag-20");
    // Each digit as 0: it is signed for now.
    const auto shape = [&](int page) {
        std::string url = song_.getAmazonWebserviceURL(page);
        const auto signature = url.find("&Signature=");
        EXPECT_TRUE(url.ends_with("%3D")) << url; // a padding of Base64
        EXPECT_EQ(url.find_first_of("&+/=", signature + 11), std::string::npos) << url;
        url.resize(std::min(signature, url.size()));
        const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
        std::ranges::replace_if(url, isDigit, '0');
        return url;
    };
    const std::string rest = "&Operation=ItemSearch&ResponseGroup=ItemAttributes%0CImages&SearchIndex=Music&"
                             "Service=AWSECommerceService&Title=Paper%00Lanterns&Version=0000-00-00&"
                             "AWSAccessKeyId=00000000000000000000&Timestamp=0000-00-00T00%0A00%0A00Z";
    EXPECT_EQ(shape(2), "http://amazon.test/onca/xml?Artist=Lowbeam&AssociateTag=tag-00&ItemPage=0" + rest);
    EXPECT_NE(song_.getAmazonWebserviceURL(2).find("&ItemPage=2&"), std::string::npos);
    song_.setSampler(true);
    EXPECT_EQ(shape(1), "http://amazon.test/onca/xml?AssociateTag=tag-00&ItemPage=0" + rest)
        << "whoever sings that song";
}

TEST_F(SongLookup, PrivateAddressesAreDeniedToSourcesToo) {
    cache_.StoreParameter("privateAddresses", "deny");
    testing::internal::CaptureStderr();
    EXPECT_EQ(webSourcesOf(song_.getCoverartInformation()), (Texts{"deezer state=failed"}));
    testing::internal::GetCapturedStderr();
    EXPECT_TRUE(asked().empty());
}

TEST_F(SongLookup, AnswersHoldForTheirAge) {
    cache_.StoreParameter("answerAge", "1");
    const auto due = [&] {
        SQLite::Database database(folder_.path() / "covers.db");
        return database.execAndGet("SELECT max(expires) / 1000 - strftime('%s', 'now') FROM answers")
            .getInt64();
    };
    (void)song_.getCoverartInformation();
    EXPECT_NEAR(static_cast<double>(due()), 86'400, 60);
    cache_.StoreParameter("answerAge", "18446744073709551615");
    song_.setAlbum("Bare");
    (void)song_.getCoverartInformation();
    EXPECT_NEAR(static_cast<double>(due()), 86'400.0 * 3650, 60);
}

TEST_F(SongLookup, ARecordThatIsTooLongToBeOneIsRefused) {
    song_.setTitle(std::string(2000, 'x'));
    EXPECT_THROW(song_.getCoverartInformation(), util::Exception);
    EXPECT_THROW(song_.guessAlbumNames(), util::Exception);
    EXPECT_TRUE(asked().empty());
}

TEST_F(SongLookup, FailsWithTheStore) {
    SQLite::Database(folder_.path() / "covers.db", SQLite::OPEN_READWRITE).exec("DROP TABLE answers");
    testing::internal::CaptureStderr();
    EXPECT_THROW(song_.getCoverartInformation(), util::Exception);
    EXPECT_THROW(song_.guessAlbumNames(), util::Exception);
    testing::internal::GetCapturedStderr();
}

TEST(SongLookupWithoutACache, IsRefused) {
    SongInfo song("Lowbeam", "Quiet Harbour", "Paper Lanterns");
    const SongInfo before = song;
    EXPECT_THROW(song.getCoverartInformation(), util::Exception);
    EXPECT_THROW(song.guessAlbumNames(), util::Exception);
    EXPECT_THROW(song.GuessAlbumName(), util::Exception);
    EXPECT_THROW(song.SearchCoverart(), util::Exception);
    EXPECT_THROW(song.MBAlbumSearch("a", "b"), util::Exception);
    EXPECT_THROW(song.XMLMBSearch("a", "b"), util::Exception);
    EXPECT_THROW(song.XMLAWSSearch("a", "b"), util::Exception);
    EXPECT_THROW(song.getAmazonWebserviceURL(1), util::Exception);
    EXPECT_EQ(song, before);
}

} // namespace
