// SPDX-License-Identifier: MIT
// What every store has to do, whatever it is made of: the tests see the interface only, and a second
// implementation is one more line at the end.
#include "store/CoverStore.h"
#include "store/Sha256.h"
#include "store/sqlite/Store.h"
#include "tests/unit/Bytes.h"
#include "tests/unit/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <memory>

namespace {

using namespace std::chrono_literals;
using store::CoverStore;
using store::IfPresent;
using store::Record;
using tests::bytesOf;
using tests::textOf;

using Open = std::unique_ptr<CoverStore> (*)(const std::filesystem::path&);

class CoverStoreTest : public testing::TestWithParam<Open> {
protected:
    CoverStoreTest() : store_(GetParam()(folder_.path())) {}

    std::unique_ptr<CoverStore> another() { return GetParam()(folder_.path()); }

    int keep(const Record& record, std::string_view content, IfPresent ifPresent = IfPresent::Replace) {
        return store_->storeImage(
            record,
            {.bytes = bytesOf(content), .mimeType = "image/jpeg", .widthPixels = 3, .heightPixels = 2},
            ifPresent);
    }

    std::string contentOf(int id) {
        const auto info = store_->cover(id);
        if (!info) return "(no cover)";
        const auto content = store_->image(info->hash);
        return content ? textOf(content->bytes()) : "(no image)";
    }

    std::vector<int> found(const store::Search& search, int limit = 100) {
        std::vector<int> ids;
        for (const store::Entry& entry : store_->search(search, limit).entries)
            ids.push_back(entry.id);
        return ids;
    }

    tests::TemporaryFolder folder_;
    std::unique_ptr<CoverStore> store_;
};

/** A moment in whole milliseconds, as the store keeps them. */
const store::Clock::time_point now{std::chrono::milliseconds(1'800'000'000'123)};

const Record lanterns{.artist = "Lowbeam", .title = "Quiet Harbour", .album = "Paper Lanterns"};
const Record harbour{.artist = "Lowbeam", .title = "Quiet Harbour"};
const Record sampler{
    .artist = "Lowbeam", .title = "Quiet Harbour", .album = "Harbour Songs", .sampler = true};

TEST_P(CoverStoreTest, IsEmptyAtFirst) {
    EXPECT_FALSE(store_->findEntry(lanterns));
    EXPECT_FALSE(store_->cover(1));
    EXPECT_FALSE(store_->image(std::string(64, '0')));
    EXPECT_FALSE(store_->rendition(std::string(64, '0')));
    EXPECT_TRUE(store_->emptyEntries().empty());
    EXPECT_TRUE(store_->parameters().empty());
    EXPECT_EQ(store_->search({}, 10).total, 0);
}

TEST_P(CoverStoreTest, GivesBackTheBytesOfACover) {
    const std::string content("\x89PNG\0\xFF bytes", 12);
    const int id = keep(lanterns, content);
    EXPECT_GT(id, 0);
    EXPECT_EQ(contentOf(id), content);
    const auto info = store_->cover(id);
    ASSERT_TRUE(info);
    EXPECT_EQ(info->hash, store::sha256(bytesOf(content)));
    EXPECT_EQ(info->mimeType, "image/jpeg");
    EXPECT_EQ(info->widthPixels, 3);
    EXPECT_EQ(info->heightPixels, 2);
    EXPECT_EQ(info->sizeBytes, 12);
    EXPECT_FALSE(info->shownAsReceived);
}

TEST_P(CoverStoreTest, KeepsEverythingForTheNextOneThatOpensIt) {
    const int id = keep(lanterns, "cover");
    store_->setParameter({"queryLimit", "7"});
    const int job = store_->queueTagJob(id, "/music/a.flac", true);
    store_ = another();
    EXPECT_EQ(contentOf(id), "cover");
    EXPECT_EQ(store_->parameter("queryLimit"), "7");
    ASSERT_EQ(store_->jobs(id).size(), 1U);
    EXPECT_EQ(store_->jobs(id)[0].id, job);
}

TEST_P(CoverStoreTest, TwoAtOnceSeeEachOthersWork) {
    const auto second = another();
    const int id = keep(lanterns, "cover");
    ASSERT_TRUE(second->cover(id));
    const int other =
        second->storeImage({.artist = "Ada", .title = "Tide"},
                           {.bytes = bytesOf("tide"), .mimeType = "image/png"}, IfPresent::Replace);
    EXPECT_NE(other, id);
    EXPECT_EQ(contentOf(other), "tide");
}

TEST_P(CoverStoreTest, FindsAnEntryByItsAlbumHoweverItIsSpelled) {
    const int id = keep(lanterns, "cover");
    for (const Record& same :
         {Record{.artist = "LOWBEAM", .title = "Another Song", .album = "paper  lanterns"},
          Record{.artist = "Lówbeam", .album = "Paper Lanterns (Remastered)"},
          Record{.artist = "The Lowbeam", .album = "Paper Lanterns - disc 2"}}) {
        const auto entry = store_->findEntry(same);
        ASSERT_TRUE(entry) << same.artist << " / " << same.album;
        EXPECT_EQ(entry->id, id);
    }
    EXPECT_FALSE(store_->findEntry({.artist = "Lowbeam", .album = "Paper Lantern"}));
    EXPECT_FALSE(store_->findEntry({.artist = "Highbeam", .album = "Paper Lanterns"}));
}

TEST_P(CoverStoreTest, FindsASamplerByItsAlbumAlone) {
    const int id = keep(sampler, "cover");
    EXPECT_EQ(store_->findEntry({.artist = "Somebody Else", .album = "Harbour Songs", .sampler = true})->id,
              id);
    EXPECT_FALSE(store_->findEntry({.artist = "Lowbeam", .album = "Harbour Songs"}));
}

TEST_P(CoverStoreTest, FindsASongWithoutAlbumByItsTitle) {
    const int album = keep(lanterns, "album");
    EXPECT_EQ(store_->findEntry(harbour)->id, album);
    EXPECT_EQ(store_->findEntry(harbour)->record.album, "Paper Lanterns");
}

TEST_P(CoverStoreTest, PrefersTheSongsOwnEntryThenOneWithACover) {
    const int single = keep(harbour, "single");
    const int album = keep(lanterns, "album");
    EXPECT_NE(single, album);
    EXPECT_EQ(store_->findEntry(harbour)->id, single);

    const Record elsewhere{.artist = "Ada", .title = "Tide", .album = "First"};
    const int withCover = keep(elsewhere, "tide");
    store_->registerEntry({.artist = "Ada", .title = "Tide", .album = "Second"});
    EXPECT_EQ(store_->findEntry({.artist = "Ada", .title = "Tide"})->id, withCover);
}

TEST_P(CoverStoreTest, NamesOfPunctuationOnlyAreDifferentNames) {
    const int first = keep({.artist = "!!!", .album = "+/-"}, "a");
    const int second = keep({.artist = "???", .album = "+/-"}, "b");
    EXPECT_NE(first, second);
    EXPECT_EQ(store_->findEntry({.artist = "!!!", .album = "+/-"})->id, first);
    EXPECT_EQ(found({.artist = "???"}), std::vector{second});
}

TEST_P(CoverStoreTest, RegistersAnEntryOnce) {
    const store::Entry entry = store_->registerEntry(lanterns);
    EXPECT_GT(entry.id, 0);
    EXPECT_EQ(entry.record, lanterns);
    EXPECT_FALSE(entry.image);
    EXPECT_EQ(store_->registerEntry(lanterns).id, entry.id);
    ASSERT_EQ(store_->emptyEntries().size(), 1U);
    EXPECT_EQ(keep(lanterns, "cover"), entry.id);
    EXPECT_TRUE(store_->emptyEntries().empty());
}

TEST_P(CoverStoreTest, ReplacesACoverUnderItsId) {
    const int id = keep(lanterns, "one");
    EXPECT_EQ(keep(lanterns, "two"), id);
    EXPECT_EQ(contentOf(id), "two");
}

TEST_P(CoverStoreTest, KeepsACoverThatIsThereWhenAskedTo) {
    const int id = keep(lanterns, "one");
    EXPECT_EQ(keep(lanterns, "two", IfPresent::Keep), id);
    EXPECT_EQ(contentOf(id), "one");
    EXPECT_FALSE(store_->image(store::sha256(bytesOf("two"))));
    const int empty = store_->registerEntry({.artist = "Ada", .title = "Tide"}).id;
    EXPECT_EQ(keep({.artist = "Ada", .title = "Tide"}, "tide", IfPresent::Keep), empty);
    EXPECT_EQ(contentOf(empty), "tide");
}

TEST_P(CoverStoreTest, FillsInWhatTheRecordLackedAndChangesNothingElse) {
    const int id = keep({.artist = "Lowbeam", .album = "Paper Lanterns"}, "one");
    keep({.artist = "LOWBEAM", .title = "Quiet Harbour", .album = "PAPER LANTERNS", .genre = "Folk"}, "two");
    const auto entry = store_->findEntry(lanterns);
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->id, id);
    EXPECT_EQ(
        entry->record,
        (Record{.artist = "Lowbeam", .title = "Quiet Harbour", .album = "Paper Lanterns", .genre = "Folk"}));
    EXPECT_EQ(found({.title = "harbour"}), std::vector{id});
    EXPECT_EQ(store_->findEntry(harbour)->id, id);
}

TEST_P(CoverStoreTest, KeepsTheLastFiveImagesThatWereReplaced) {
    const int id = keep(lanterns, "0");
    for (const char* content : {"1", "2", "3", "4", "5", "6"})
        keep(lanterns, content);
    std::vector<std::string> earlier;
    for (const store::ImageInfo& info : store_->earlierImages(id))
        earlier.push_back(textOf(store_->image(info.hash)->bytes()));
    EXPECT_EQ(earlier, (std::vector<std::string>{"5", "4", "3", "2", "1"}));
    EXPECT_EQ(contentOf(id), "6");
    EXPECT_FALSE(store_->image(store::sha256(bytesOf("0")))) << "what nobody points at is gone";
}

TEST_P(CoverStoreTest, AnEarlierImageThatComesBackIsNoEarlierOneAnyMore) {
    const int id = keep(lanterns, "one");
    keep(lanterns, "two");
    keep(lanterns, "one");
    EXPECT_EQ(contentOf(id), "one");
    ASSERT_EQ(store_->earlierImages(id).size(), 1U);
    EXPECT_EQ(store_->earlierImages(id)[0].hash, store::sha256(bytesOf("two")));
    keep(lanterns, "one");
    EXPECT_EQ(store_->earlierImages(id).size(), 1U);
}

TEST_P(CoverStoreTest, KeepsAnImageOncePerContentAndAsLongAsOneEntryHasIt) {
    const int first = keep(lanterns, "same");
    const int second = keep({.artist = "Ada", .title = "Tide"}, "same");
    EXPECT_EQ(store_->cover(first)->hash, store_->cover(second)->hash);
    for (const char* content : {"1", "2", "3", "4", "5", "6"})
        keep(lanterns, content);
    EXPECT_EQ(contentOf(second), "same");
}

TEST_P(CoverStoreTest, BoundsTheEntriesWithoutAnImage) {
    const int kept = keep(lanterns, "cover");
    const Record dropped{.artist = "Ada", .title = "Tide"};
    const int droppedId = keep(dropped, "its own");
    keep(dropped, "cover");
    store_->dropImage(droppedId, store::sha256(bytesOf("cover")));
    int last = 0;
    for (int i = 0; i <= CoverStore::maxEmptyEntries + 200; ++i)
        last = store_->registerEntry({.artist = "Nobody", .title = "Song " + std::to_string(i)}).id;
    const std::vector<store::Entry> empty = store_->emptyEntries();
    EXPECT_LT(empty.size(), static_cast<std::size_t>(CoverStore::maxEmptyEntries) + 200);
    EXPECT_EQ(empty.front().id, last);
    EXPECT_EQ(empty.back().id, last - static_cast<int>(empty.size()) + 1) << "the oldest went";
    EXPECT_EQ(contentOf(kept), "cover");
    EXPECT_TRUE(found({.title = "song 0"}).empty());
    EXPECT_FALSE(store_->findEntry(dropped));
    EXPECT_TRUE(store_->earlierImages(droppedId).empty());
    EXPECT_FALSE(store_->image(store::sha256(bytesOf("its own")))) << "an entry's earlier images go with it";
}

TEST_P(CoverStoreTest, ListsEmptyEntriesNewestFirst) {
    const int first = store_->registerEntry({.artist = "Ada", .title = "One"}).id;
    const int second = store_->registerEntry({.artist = "Ada", .title = "Two"}).id;
    const auto empty = store_->emptyEntries();
    ASSERT_EQ(empty.size(), 2U);
    EXPECT_EQ(empty[0].id, second);
    EXPECT_EQ(empty[1].id, first);
}

TEST_P(CoverStoreTest, SearchWantsEveryWordInItsFieldTheLastOneAsAPrefix) {
    const int id = keep(lanterns, "cover");
    keep({.artist = "Paper", .title = "Lowbeam", .album = "Something"}, "other");
    EXPECT_EQ(found({.album = "lanterns paper"}), std::vector{id});
    EXPECT_EQ(found({.album = "Pap"}), std::vector{id});
    EXPECT_EQ(found({.artist = "lówb", .album = "paper lan", .title = "harbour"}), std::vector{id});
    EXPECT_TRUE(found({.album = "pap lanterns"}).empty()) << "only the last word is a prefix";
    EXPECT_TRUE(found({.artist = "paper", .album = "lanterns"}).empty());
    EXPECT_TRUE(found({.title = "lanterns"}).empty()) << "the word is in another field";
}

TEST_P(CoverStoreTest, SearchTakesBeginningsOfAnyLength) {
    const std::string word = "antidisestablishment";
    const int id = keep({.artist = word, .title = "Łódź", .album = "東京事変"}, "cover");
    for (std::size_t length = 1; length <= word.size(); ++length)
        EXPECT_EQ(found({.artist = word.substr(0, length)}), std::vector{id}) << length;
    EXPECT_TRUE(found({.artist = word + "s"}).empty());
    for (const char* beginning : {"ł", "łó", "LOD", "lodz"})
        EXPECT_EQ(found({.title = beginning}), std::vector{id}) << beginning;
    for (const char* beginning : {"東", "東京", "東京事", "東京事変"})
        EXPECT_EQ(found({.album = beginning}), std::vector{id}) << beginning;
}

TEST_P(CoverStoreTest, SearchKeepsOneLetterWordsApartFromFields) {
    const int id = keep({.artist = "Lide", .title = "Aide", .album = "Tide"}, "cover");
    EXPECT_EQ(found({.artist = "l", .album = "t", .title = "a"}), std::vector{id});
    for (const store::Search& none :
         {store::Search{.artist = "ide"}, store::Search{.artist = "ali"}, store::Search{.album = "ide"},
          store::Search{.album = "a"}, store::Search{.title = "ide"}, store::Search{.title = "l"}})
        EXPECT_TRUE(found(none).empty()) << none.artist << none.album << none.title;
}

TEST_P(CoverStoreTest, SearchTakesNothingForASign) {
    const int id = keep({.artist = "AC\"DC* OR (x)", .title = "NOT -a:b^2"}, "cover");
    EXPECT_EQ(found({.artist = "\"dc* or (x"}), std::vector{id});
    EXPECT_EQ(found({.title = "NOT -a"}), std::vector{id});
    EXPECT_TRUE(found({.artist = "nothing OR x"}).empty());
    EXPECT_TRUE(found({.artist = std::string("\0\"", 2) + "zzz"}).empty());
}

TEST_P(CoverStoreTest, SearchCutsAtTheLimitAndTellsTheTotal) {
    std::array<int, 5> ids{};
    for (int& id : ids)
        id = store_->registerEntry({.artist = "Ada", .title = "T" + std::to_string(&id - ids.data())}).id;
    keep(lanterns, "cover");
    const store::SearchResult ada = store_->search({.artist = "ada"}, 2);
    EXPECT_EQ(ada.total, 5);
    ASSERT_EQ(ada.entries.size(), 2U);
    EXPECT_EQ(ada.entries[0].id, ids[4]) << "newest first";
    EXPECT_EQ(ada.entries[1].id, ids[3]);
    for (const int limit : {0, 1, 4, 5, 6}) {
        const store::SearchResult some = store_->search({.title = "t"}, limit);
        EXPECT_EQ(some.total, 5) << limit;
        ASSERT_EQ(some.entries.size(), static_cast<std::size_t>(std::min(limit, 5)));
        for (std::size_t i = 0; i < some.entries.size(); ++i)
            EXPECT_EQ(some.entries[i].id, ids.at(4 - i)) << "newest first";
    }
    const store::SearchResult all = store_->search({}, 1);
    EXPECT_EQ(all.total, 6);
    ASSERT_EQ(all.entries.size(), 1U);
    EXPECT_EQ(all.entries[0].record, lanterns);
    ASSERT_TRUE(all.entries[0].image);
    EXPECT_EQ(all.entries[0].image->sizeBytes, 5);
}

TEST_P(CoverStoreTest, ParametersAreSetReplacedAndDeleted) {
    store_->setParameter({"b", "1"});
    store_->setParameter({"a", ""});
    store_->setParameter({"b", "2"});
    store_->setParameter({"", "nameless"});
    EXPECT_EQ(store_->parameters(), (std::vector<store::Parameter>{{"", "nameless"}, {"a", ""}, {"b", "2"}}));
    EXPECT_EQ(store_->parameter("a"), "");
    EXPECT_EQ(store_->parameter("B"), std::nullopt) << "names keep their case";
    store_->deleteParameter("b");
    store_->deleteParameter("b");
    EXPECT_EQ(store_->parameter("b"), std::nullopt);
}

TEST_P(CoverStoreTest, ParametersAreSeenAtOnceAndOutliveAKilledProcess) {
    store_->setParameter({"gone", "1"});
    const pid_t child = fork();
    if (child == 0) {
        const std::unique_ptr<CoverStore> doomed = another();
        doomed->setParameter({"kept", "2"});
        doomed->deleteParameter("gone");
        (void)raise(SIGKILL);
    }
    int status = 0;
    waitpid(child, &status, 0);
    ASSERT_TRUE(WIFSIGNALED(status)) << "it got as far as that";
    const std::vector<store::Parameter> expected{{"kept", "2"}};
    EXPECT_EQ(store_->parameters(), expected);
    EXPECT_EQ(another()->parameters(), expected);
    store_->flush();
    EXPECT_EQ(store_->parameters(), expected);
}

TEST_P(CoverStoreTest, QueuesJobsForAnyIdAndAnyPath) {
    const std::string path("/music/\xFF\0\n.mp3", 13);
    const int first = store_->queueTagJob(77, path, true);
    const int second = store_->queueTagJob(77, "", false);
    const int third = store_->queueDeleteJob(77);
    EXPECT_GT(first, 0);
    EXPECT_LT(first, second);
    EXPECT_LT(second, third);
    const auto jobs = store_->jobs(77);
    ASSERT_EQ(jobs.size(), 3U);
    EXPECT_EQ(jobs[0].path, path);
    EXPECT_TRUE(jobs[0].replace);
    EXPECT_EQ(jobs[0].state, store::JobState::Queued);
    EXPECT_EQ(jobs[1].path, "");
    EXPECT_FALSE(jobs[1].replace);
    EXPECT_EQ(jobs[2].kind, store::JobKind::Delete);
    EXPECT_TRUE(store_->jobs(78).empty());
}

/** The ids of the jobs as they come, each done before the next. */
std::vector<int> doneInTurn(CoverStore& store, store::Clock::time_point when) {
    std::vector<int> ids;
    while (const auto job = store.nextJob(when)) {
        ids.push_back(job->id);
        store.finishJob(job->id, "");
    }
    return ids;
}

TEST_P(CoverStoreTest, JobsHaveTheirTurnInTheOrderInWhichTheyCame) {
    EXPECT_FALSE(store_->nextJob(now));
    EXPECT_FALSE(store_->nextJobDue());
    const int first = store_->queueTagJob(2, "b", true);
    const int second = store_->queueTagJob(1, "a", false);
    ASSERT_TRUE(store_->nextJobDue());
    EXPECT_LE(*store_->nextJobDue(), store::Clock::now());
    EXPECT_EQ(store_->nextJob(now)->id, first) << "looking changes nothing";
    EXPECT_EQ(store_->nextJob(now)->path, "b");
    EXPECT_EQ(doneInTurn(*store_, now), (std::vector{first, second}));
    EXPECT_FALSE(store_->nextJobDue());
}

TEST_P(CoverStoreTest, ADeleteJobWaitsForTheTagJobsOfItsEntryAlsoForLaterOnes) {
    const int remove = store_->queueDeleteJob(1);
    const int tag = store_->queueTagJob(1, "a", true);
    const int other = store_->queueDeleteJob(2);
    EXPECT_EQ(store_->nextJob(now)->id, tag);
    store_->startJob(tag, "/tmp/x");
    EXPECT_EQ(store_->nextJob(now)->id, other) << "one that runs is not done yet";
    store_->finishJob(tag, "failed");
    EXPECT_EQ(store_->nextJob(now)->id, remove) << "one that failed is over";
    EXPECT_EQ(doneInTurn(*store_, now), (std::vector{remove, other}));
}

TEST_P(CoverStoreTest, AJobThatRunsComesBackWithItsTemporaryFile) {
    const std::string file("/music/\xFF.flac");
    const int id = store_->queueTagJob(1, "a", true);
    EXPECT_TRUE(store_->runningJobs().empty());
    store_->startJob(id, file);
    EXPECT_FALSE(store_->nextJob(now));
    EXPECT_TRUE(store_->nextJobDue()) << "somebody has to see whether its process lives";
    const auto running = another()->runningJobs();
    ASSERT_EQ(running.size(), 1U);
    EXPECT_EQ(running[0].id, id);
    EXPECT_EQ(running[0].state, store::JobState::Running);
    EXPECT_EQ(running[0].temporaryFile, file);
    store_->putBackJob(id);
    EXPECT_TRUE(store_->runningJobs().empty());
    ASSERT_TRUE(store_->nextJob(now));
    EXPECT_EQ(store_->nextJob(now)->temporaryFile, "");
    EXPECT_EQ(store_->nextJob(now)->attempts, 0);
}

TEST_P(CoverStoreTest, APostponedJobWaitsUntilItIsDueAndTheOthersDont) {
    const int busy = store_->queueTagJob(1, "a", true);
    const int remove = store_->queueDeleteJob(1);
    const int other = store_->queueTagJob(2, "b", true);
    store_->startJob(busy, "/tmp/x");
    store_->postponeJob(busy, "It is busy.", now + 10s);
    EXPECT_EQ(store_->nextJob(now)->id, other);
    store_->finishJob(other, "");
    EXPECT_FALSE(store_->nextJob(now + 9s)) << "nor the job that waits for it";
    EXPECT_EQ(store_->nextJobDue(), now + 10s);
    const auto due = store_->nextJob(now + 10s);
    ASSERT_TRUE(due);
    EXPECT_EQ(due->id, busy);
    EXPECT_EQ(due->attempts, 1);
    EXPECT_EQ(due->reason, "It is busy.");
    EXPECT_EQ(due->temporaryFile, "");
    store_->postponeJob(busy, "It is busy.", now + 20s);
    EXPECT_EQ(store_->nextJob(now + 20s)->attempts, 2);
    EXPECT_EQ(doneInTurn(*store_, now + 20s), (std::vector{busy, remove}));
}

TEST_P(CoverStoreTest, AClockThatWasPutBackHoldsUpNoJob) {
    const int id = store_->queueTagJob(1, "a", true);
    store_->postponeJob(id, "It is busy.", now + CoverStore::maxPostponement);
    EXPECT_FALSE(store_->nextJob(now));
    EXPECT_TRUE(store_->nextJob(now - 1s));
    EXPECT_TRUE(store_->nextJob(now - 24h * 365 * 20));
}

TEST_P(CoverStoreTest, AJobThatIsOverSaysWhatCameOfIt) {
    const int done = store_->queueTagJob(1, "a", true);
    const int failed = store_->queueTagJob(1, "b", true);
    store_->postponeJob(done, "It is busy.", now);
    store_->startJob(done, "/tmp/x");
    store_->finishJob(done, "");
    store_->startJob(failed, "/tmp/x");
    store_->finishJob(failed, "It can't be read.");
    const auto jobs = store_->jobs(1);
    EXPECT_EQ(jobs[0].state, store::JobState::Done);
    EXPECT_EQ(jobs[0].reason, "");
    EXPECT_EQ(jobs[0].temporaryFile, "");
    EXPECT_EQ(jobs[1].state, store::JobState::Failed);
    EXPECT_EQ(jobs[1].reason, "It can't be read.");
    EXPECT_EQ(jobs[1].temporaryFile, "");
}

TEST_P(CoverStoreTest, ATagJobFailedBeforeUnlessItsFileWasDoneSince) {
    const auto finish = [&](const char* path, const char* failure) {
        store_->finishJob(store_->queueTagJob(1, path, true), failure);
    };
    const auto failedBefore = [&](int entryId) {
        store_->queueDeleteJob(entryId);
        return store_->tagJobFailedBefore(store_->jobs(entryId).back());
    };
    EXPECT_FALSE(failedBefore(1));
    finish("a", "");
    EXPECT_FALSE(failedBefore(1));
    const int early = store_->queueDeleteJob(1);
    finish("a", "It can't be read.");
    EXPECT_TRUE(failedBefore(1)) << "done before is not done since";
    EXPECT_FALSE(failedBefore(2)) << "another entry";
    EXPECT_FALSE(store_->tagJobFailedBefore({.id = early, .entryId = 1})) << "it failed after that one came";
    finish("b", "");
    EXPECT_TRUE(failedBefore(1)) << "another file";
    finish("a", "");
    EXPECT_FALSE(failedBefore(1));
}

TEST_P(CoverStoreTest, AJobKnowsTheImageOfItsTime) {
    const int id = keep(lanterns, "one");
    store_->queueDeleteJob(id);
    keep(lanterns, "two");
    store_->queueTagJob(id, "a", true);
    store_->queueDeleteJob(4711);
    EXPECT_EQ(store_->jobs(id)[0].imageHash, store::sha256(bytesOf("one")));
    EXPECT_EQ(store_->jobs(id)[1].imageHash, store::sha256(bytesOf("two")));
    EXPECT_EQ(store_->jobs(4711)[0].imageHash, "");
}

TEST_P(CoverStoreTest, AnImageThatIsDroppedIsAnEarlierOne) {
    const std::string one = store::sha256(bytesOf("one"));
    const std::string two = store::sha256(bytesOf("two"));
    const int id = keep(lanterns, "one");
    keep(lanterns, "two");
    store_->dropImage(id, one);
    EXPECT_EQ(contentOf(id), "two") << "one that came in meanwhile";
    store_->dropImage(id, two);
    EXPECT_FALSE(store_->cover(id));
    ASSERT_TRUE(store_->findEntry(lanterns));
    EXPECT_FALSE(store_->findEntry(lanterns)->image);
    ASSERT_EQ(store_->earlierImages(id).size(), 2U);
    EXPECT_EQ(store_->earlierImages(id)[0].hash, two);
    store_->dropImage(id, two);
    store_->dropImage(4711, two);
    EXPECT_EQ(store_->earlierImages(id).size(), 2U) << "nothing happens to what is not there";
    keep(lanterns, "two");
    EXPECT_EQ(contentOf(id), "two");
    EXPECT_EQ(store_->earlierImages(id).size(), 1U);
}

TEST_P(CoverStoreTest, OfDroppedImagesFiveAreKept) {
    const int id = keep(lanterns, "0");
    for (const char* content : {"1", "2", "3", "4", "5"})
        keep(lanterns, content);
    store_->dropImage(id, store::sha256(bytesOf("5")));
    EXPECT_EQ(store_->earlierImages(id).size(), 5U);
    EXPECT_FALSE(store_->image(store::sha256(bytesOf("0"))));
    EXPECT_TRUE(store_->image(store::sha256(bytesOf("5"))));
}

TEST_P(CoverStoreTest, KeepsRenditionsUpToABoundLeastRecentlyUsedOutFirst) {
    const auto png = [](char fill) {
        return std::string("\x89PNG\r\n\x1A\n", 8) + std::string(1000, fill) +
               std::string("IEND\xAE\x42\x60\x82", 8);
    };
    const std::string a(64, 'a');
    const std::string b(64, 'b');
    store_->keepRendition(a, bytesOf(png('a')), 10'000);
    ASSERT_TRUE(store_->rendition(a));
    EXPECT_EQ(textOf(store_->rendition(a)->bytes()), png('a'));
    store_->keepRendition(b, bytesOf(png('b')), 1'500);
    EXPECT_FALSE(store_->rendition(a));
    EXPECT_TRUE(store_->rendition(b));
    store_->keepRendition(a, bytesOf(png('a')), 10);
    EXPECT_FALSE(store_->rendition(a)) << "one that is over the bound by itself is not kept";
    EXPECT_TRUE(store_->rendition(b));
}

std::unique_ptr<CoverStore> openSqlite(const std::filesystem::path& folder) {
    return std::make_unique<store::SqliteStore>(folder);
}

INSTANTIATE_TEST_SUITE_P(Sqlite, CoverStoreTest, testing::Values(&openSqlite),
                         [](const auto&) { return "Store"; });

} // namespace
