// SPDX-License-Identifier: MIT
#include "sources/Lookup.h"
#include "sources/KeptCandidates.h"

#include "net/Url.h"
#include "store/sqlite/Store.h"
#include "tests/unit/TemporaryFolder.h"
#include "tests/unit/Waiting.h"
#include "tests/unit/sources/FakeServices.h"
#include "util/Exception.h"

#include <SQLiteCpp/SQLiteCpp.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>

namespace {

using namespace std::chrono_literals;
using matching::Candidate;
using matching::Question;
using sources::Request;
using sources::SourceReport;
using sources::SourceState;
using tests::busy;
using tests::found;
using tests::httpAnswer;
using Paths = std::vector<std::string>;

const Question question{.artist = "Lowbeam", .album = "Paper Lanterns"};

/** An album that fits the question. An empty `group` means no release group. */
Candidate fitting(const std::string& group = "") {
    return {.artist = "Lowbeam", .album = "Paper Lanterns", .groupId = group};
}

Candidate other() { return {.artist = "The Ferrymen", .album = "Slow Tides", .groupId = "other"}; }

/** A picture source's candidate. */
Candidate picture(const std::string& url) {
    return {.pictureUrl = url, .thumbnailUrl = url + "/small", .widthPixels = 900, .heightPixels = 800};
}

/** A report without its reason. */
std::string brief(const SourceReport& report) {
    static const std::map<SourceState, std::string> names{{SourceState::Idle, "idle"},
                                                          {SourceState::Kept, "kept"},
                                                          {SourceState::Answered, "answered"},
                                                          {SourceState::Failed, "failed"}};
    return report.name + ' ' + names.at(report.state) + ' ' + std::to_string(report.found);
}

class LookupTest : public testing::Test {
protected:
    /** Adds a source that requests these paths for any question. */
    void addSource(const std::string& name, const Paths& paths) {
        addSource(name, [this, paths](const Question&) {
            std::vector<Request> requests;
            for (const std::string& path : paths)
                requests.push_back({.url = web_.url(path)});
            return requests;
        });
    }
    void addSource(const std::string& name, tests::FakeSource::Ask ask) {
        sources_.albums.push_back(std::make_unique<tests::FakeSource>(name, std::move(ask)));
    }
    void addPictures(const std::string& name) {
        sources_.pictures.push_back(std::make_unique<tests::FakePictures>(name, web_.url('/' + name)));
    }

    /** Stores the outcome in result_, and keeps the log out of the test's output. */
    void lookUp(const Question& asked = question) {
        testing::internal::CaptureStderr();
        matching::Judge judge(asked);
        result_ = sources::lookUp(store_, sources_, judge, {.timeout = 30s});
        testing::internal::GetCapturedStderr();
    }

    [[nodiscard]] std::vector<std::string> reports() const {
        std::vector<std::string> texts;
        for (const SourceReport& report : result_.reports)
            texts.push_back(brief(report));
        return texts;
    }

    tests::TemporaryFolder folder_;
    store::SqliteStore store_{folder_.path()};
    tests::FakeWeb web_;
    sources::Sources sources_;
    sources::LookupResult result_;
};

TEST_F(LookupTest, WithoutSourcesFindsNothing) {
    lookUp();
    EXPECT_TRUE(result_.candidates.empty());
    EXPECT_TRUE(result_.reports.empty());
}

TEST_F(LookupTest, NamesThoseThatFitAfterTheirSource) {
    web_.answer("/a", {found({fitting(), other()})});
    addSource("one", Paths{"/a"});
    lookUp();
    Candidate expected = fitting();
    expected.source = "one";
    EXPECT_EQ(result_.candidates, std::vector<Candidate>{expected});
    EXPECT_EQ(reports(), (Paths{"one answered 2"}));
}

TEST_F(LookupTest, ReportsEachSourceInItsPlace) {
    web_.answer("/a", {found({fitting("g"), fitting("g2")})});
    web_.answer("/broken", {httpAnswer("", "404 Oh")});
    web_.answer("/pictures/g", {found({picture("http://p.test/1")})});
    addPictures("pictures");
    addPictures("unasked");
    addSource("broken", Paths{"/broken"});
    addSource("idle", Paths{});
    addSource("one", Paths{"/a"});
    lookUp();
    EXPECT_EQ(reports(), (Paths{"broken failed 0", "idle idle 0", "one answered 2", "pictures answered 1",
                                "unasked answered 0"}));
    EXPECT_EQ(result_.reports.front().reason, "The service answers with the status 404.");
    EXPECT_EQ(result_.reports.back().reason, "");
    lookUp();
    EXPECT_EQ(reports(),
              (Paths{"broken failed 0", "idle idle 0", "one kept 2", "pictures kept 1", "unasked kept 0"}));
}

TEST_F(LookupTest, ASourceThatHadToAskForAPartHasAnswered) {
    web_.answer("/b", {found({fitting()})});
    addSource("one", Paths{"/a"});
    lookUp();
    sources_.albums.clear();
    addSource("one", Paths{"/a", "/b"});
    lookUp();
    EXPECT_EQ(reports(), (Paths{"one answered 1"}));
}

TEST_F(LookupTest, ASourceOfWhichAPartFailedHasFailed) {
    web_.answer("/a", {found({fitting("g1"), fitting("g2"), fitting("g3")})});
    web_.answer("/pictures/g1", {found({picture("http://p.test/1")})});
    web_.answer("/pictures/g2", {httpAnswer("", "404 Gone")});
    web_.answer("/pictures/g3", {found({picture("http://p.test/3")})});
    addPictures("pictures");
    addSource("one", Paths{"/a"});
    lookUp();
    EXPECT_EQ(reports(), (Paths{"one answered 3", "pictures failed 2"}));
    EXPECT_EQ(result_.reports.back().reason, "The service answers with the status 404.");
    EXPECT_EQ(result_.candidates.size(), 5U);
}

TEST_F(LookupTest, AsksOnWhereNothingFitted) {
    web_.answer("/a", {found({other()})});
    web_.answer("/c", {found({fitting()})});
    addSource("one", Paths{"/a", "/b", "/c", "/d"});
    lookUp();
    EXPECT_EQ(web_.asked(), (Paths{"/a", "/b", "/c"}));
    EXPECT_EQ(result_.candidates.size(), 1U);
    lookUp();
    EXPECT_EQ(web_.asked().size(), 3U);
    EXPECT_EQ(reports(), (Paths{"one kept 2"})) << "on the same way";
}

TEST_F(LookupTest, AsksNothingMoreWhenAnotherHasFoundSomethingGood) {
    web_.answer("/other", {found({other()})});
    web_.answer("/good", {found({fitting()})});
    addSource("one", Paths{"/other", "/more"});
    addSource("two", Paths{"/good"});
    store_.keepAnswer("one " + web_.url("/other"), sources::toText({other()}), store::Clock::now() + 1h);
    store_.keepAnswer("two " + web_.url("/good"), sources::toText({fitting()}), store::Clock::now() + 1h);
    lookUp();
    EXPECT_EQ(web_.asked(), Paths{});
    EXPECT_EQ(reports(), (Paths{"one kept 1", "two kept 1"}));
    store_.keepAnswer("one " + web_.url("/more"), sources::toText({fitting("g2")}), store::Clock::now() + 1h);
    lookUp();
    EXPECT_EQ(reports(), (Paths{"one kept 2", "two kept 1"})) << "what is kept costs nothing";
}

TEST_F(LookupTest, AsksASourceAtMostSevenTimes) {
    addSource("one", Paths{"/1", "/2", "/3", "/4", "/5", "/6", "/7", "/8", "/9"});
    lookUp();
    EXPECT_LE(web_.asked().size(), 7U);
}

TEST_F(LookupTest, AsksASourceThatFailedNothingMore) {
    web_.answer("/a", {httpAnswer("", "404 Oh")});
    addSource("one", Paths{"/a", "/b"});
    lookUp();
    EXPECT_EQ(web_.asked(), (Paths{"/a"}));
}

TEST_F(LookupTest, AsksForTheNamesWithoutTheirNoiseThenForTheAlbumAlone) {
    const auto ask = [this](const Question& asked) {
        return std::vector<Request>{
            {.url = web_.url("/s?" + net::urlEncoded(asked.artist) + '&' + net::urlEncoded(asked.album) +
                             '&' + net::urlEncoded(asked.title))}};
    };
    addSource("one", ask);
    lookUp({.artist = "Lowbeam", .album = "Lanterns (EP)", .title = "03 - Harbour"});
    EXPECT_EQ(web_.asked(), (Paths{"/s?Lowbeam&Lanterns&Harbour", "/s?&Lanterns&"}));
    lookUp({.artist = "", .album = "Tides", .title = "", .sampler = true});
    EXPECT_EQ(web_.asked().size(), 3U) << "each question once";
    lookUp({.artist = "Lowbeam", .album = "Unknown Album", .title = "Harbour"});
    EXPECT_EQ(web_.asked().size(), 4U);
    EXPECT_EQ(web_.asked().back(), "/s?Lowbeam&&Harbour") << "no album is sought that nobody named";
}

TEST_F(LookupTest, AsksSourcesSideBySide) {
    std::atomic<int> arrived = 0;
    tests::LoopbackServer both([&](tests::Client& client, const std::string&) {
        ++arrived;
        if (tests::comesTrue([&] { return arrived == 2; })) client.send(found({fitting()}));
        return false;
    });
    for (const char* name : {"one", "two"})
        addSource(name, [&](const Question&) { return std::vector<Request>{{.url = both.url("/a")}}; });
    lookUp();
    EXPECT_EQ(reports(), (Paths{"one answered 1", "two answered 1"}));
}

TEST_F(LookupTest, PicturesComeWithTheAlbumThatTheyAreOf) {
    Candidate album = fitting("g");
    album.date = "2004";
    album.pictureUrl = "http://old.test/";
    web_.answer("/a", {found({album})});
    web_.answer("/pictures/g", {found({picture("http://p.test/1"), picture("http://p.test/2")})});
    addPictures("pictures");
    addSource("one", Paths{"/a"});
    lookUp();
    Candidate expected = picture("http://p.test/2");
    expected.source = "pictures";
    expected.artist = "Lowbeam";
    expected.album = "Paper Lanterns";
    expected.groupId = "g";
    expected.date = "2004";
    ASSERT_EQ(result_.candidates.size(), 3U);
    EXPECT_EQ(result_.candidates[0].pictureUrl, "http://old.test/");
    EXPECT_EQ(result_.candidates[1].pictureUrl, "http://p.test/1");
    EXPECT_EQ(result_.candidates[2], expected);
}

TEST_F(LookupTest, AsksForPicturesOfTheFiveBestAlbumsThatFitAndOfEachGroupOnce) {
    std::vector<Candidate> albums{other(), fitting()}; // by another artist; without a group
    for (const char* group : {"g1", "g1", "g2", "g3", "g4", "g5"})
        albums.push_back(fitting(group));
    albums.back().kind = matching::ReleaseKind::Album; // ranks first
    albums[2].status = matching::ReleaseStatus::Bootleg;
    web_.answer("/a", {found(albums)});
    addPictures("pictures");
    addSource("one", Paths{"/a"});
    lookUp();
    Paths asked = web_.asked();
    std::ranges::sort(asked);
    // The album without a group is one of the five.
    EXPECT_EQ(asked, (Paths{"/a", "/pictures/g1", "/pictures/g2", "/pictures/g3", "/pictures/g5"}));
}

TEST_F(LookupTest, AsksForEachPictureOnceWhoeverFoundTheAlbum) {
    web_.answer("/a", {found({fitting("g")})});
    web_.answer("/b", {found({fitting("g"), fitting("h")})});
    addPictures("pictures");
    addSource("one", Paths{"/a"});
    addSource("two", Paths{"/b"});
    lookUp();
    Paths asked = web_.asked();
    std::ranges::sort(asked);
    EXPECT_EQ(asked, (Paths{"/a", "/b", "/pictures/g", "/pictures/h"}));
}

TEST_F(LookupTest, ABusySourceDoesNotKeepTheOthersFromAnswering) {
    web_.answer("/a", {busy("Retry-After: 100\r\n")});
    web_.answer("/b", {found({fitting()})});
    addSource("one", Paths{"/a"});
    addSource("two", Paths{"/b"});
    lookUp();
    EXPECT_EQ(reports(), (Paths{"one failed 0", "two answered 1"}));
    EXPECT_EQ(result_.reports.front().reason, "The service has too much to do.");
    EXPECT_EQ(store_.serviceState("one").failures, 1);
}

TEST_F(LookupTest, FailsWithTheStore) {
    addSource("one", Paths{"/a"});
    SQLite::Database(folder_.path() / "covers.db", SQLite::OPEN_READWRITE).exec("DROP TABLE answers");
    EXPECT_THROW(lookUp(), util::Exception);
    testing::internal::GetCapturedStderr();
    EXPECT_TRUE(web_.asked().empty());
}

} // namespace
