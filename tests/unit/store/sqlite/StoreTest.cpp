// SPDX-License-Identifier: MIT
#include "store/sqlite/Store.h"
#include "store/sqlite/Connection.h"
#include "tests/unit/Bytes.h"
#include "tests/unit/Flushes.h"
#include "tests/unit/TemporaryFolder.h"
#include "tests/unit/jobs/Descriptors.h"
#include "util/Exception.h"

#include <SQLiteCpp/Database.h>
#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using store::SqliteStore;
using tests::bytesOf;

class SqliteStoreTest : public testing::Test {
protected:
    std::string file() const { return (folder_.path() / "covers.db").string(); }

    /** What opening the store has to say; empty when it opens. */
    std::string failureOfOpening() const {
        return failureOf([&] { const SqliteStore opened(folder_.path()); });
    }

    static std::string failureOf(const std::function<void()>& doing) {
        try {
            doing();
        } catch (util::Exception& e) {
            return e.GetText();
        }
        return "";
    }

    static std::string contentOf(const std::string& path) {
        std::ifstream in(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }

    void execute(const char* sql) const {
        SQLite::Database database(file(), SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
        database.exec(sql);
    }

    tests::TemporaryFolder folder_;
};

TEST_F(SqliteStoreTest, WritesAheadAndFlushes) {
    const SqliteStore store(folder_.path());
    SQLite::Database database(file());
    EXPECT_EQ(database.execAndGet("PRAGMA journal_mode").getString(), "wal");
    EXPECT_EQ(database.execAndGet("PRAGMA user_version").getInt(), 2);
    EXPECT_EQ(database.execAndGet("PRAGMA page_size").getInt(), 8192);
    store::SqliteConnection connection(file());
    EXPECT_EQ(connection.database().execAndGet("PRAGMA synchronous").getInt(), 2) << "that is FULL";
    try {
        const store::UnflushedCommits unflushed(connection);
        EXPECT_EQ(connection.database().execAndGet("PRAGMA synchronous").getInt(), 1);
        throw util::Exception("whatever");
    } catch (const util::Exception&) {
        EXPECT_EQ(connection.database().execAndGet("PRAGMA synchronous").getInt(), 2);
    }
}

TEST_F(SqliteStoreTest, BringsAStoreOfVersion1UpToDateWithAllThatItHolds) {
    const std::string schemas =
        "SELECT group_concat(sql, ';' || char(10)) FROM (SELECT sql FROM sqlite_schema "
        "WHERE name NOT LIKE 'entry_words%' ORDER BY name)";
    execute(contentOf(SLEEVERY_SOURCE_DIR "/tests/fixtures/stores/version-1.sql").c_str());
    SqliteStore store(folder_.path());
    const auto lanterns = store.findEntry({.artist = "Lowbeam", .album = "Paper Lanterns"});
    ASSERT_TRUE(lanterns && lanterns->image);
    EXPECT_EQ(tests::textOf(store.image(lanterns->image->hash)->bytes()), "second");
    ASSERT_EQ(store.earlierImages(lanterns->id).size(), 1U);
    EXPECT_EQ(tests::textOf(store.image(store.earlierImages(lanterns->id)[0].hash)->bytes()), "first");
    EXPECT_EQ(store.search({.title = "harb"}, 10).total, 1);
    ASSERT_EQ(store.emptyEntries().size(), 1U);
    EXPECT_EQ(store.parameter("queryLimit"), "7");
    ASSERT_EQ(store.jobs(lanterns->id).size(), 2U);
    EXPECT_EQ(store.jobs(lanterns->id)[0].reason, "It can't be read.");
    EXPECT_EQ(store.jobs(lanterns->id)[1].state, store::JobState::Queued);

    const tests::TemporaryFolder fresh;
    const SqliteStore made(fresh.path());
    EXPECT_EQ(SQLite::Database(file()).execAndGet(schemas).getString(),
              SQLite::Database((fresh.path() / "covers.db").string()).execAndGet(schemas).getString())
        << "there is no difference to one that is made anew";
    EXPECT_EQ(SQLite::Database(file()).execAndGet("PRAGMA user_version").getInt(), 2);
    EXPECT_EQ(SQLite::Database(file()).execAndGet("PRAGMA integrity_check").getString(), "ok");
}

TEST_F(SqliteStoreTest, AStoreThatCouldNotBeBroughtUpToDateIsAsItWas) {
    execute(contentOf(SLEEVERY_SOURCE_DIR "/tests/fixtures/stores/version-1.sql").c_str());
    execute("CREATE TABLE services (in_the TEXT, way TEXT)"); // behind offered_images and answers
    testing::internal::CaptureStderr();
    EXPECT_EQ(failureOfOpening(), "The cover store failed; standard error says more.");
    EXPECT_NE(testing::internal::GetCapturedStderr().find("table services already exists"),
              std::string::npos);
    EXPECT_EQ(SQLite::Database(file()).execAndGet("PRAGMA user_version").getInt(), 1);
    EXPECT_FALSE(SQLite::Database(file()).tableExists("answers"));
    execute("DROP TABLE services");
    EXPECT_EQ(failureOfOpening(), "");
}

TEST_F(SqliteStoreTest, RefusesAStoreOfANewerVersion) {
    EXPECT_EQ(failureOfOpening(), "");
    execute("PRAGMA user_version = 99");
    EXPECT_NE(failureOfOpening().find("written by a newer version of this program (its version is 99"),
              std::string::npos);
    SQLite::Database database(file());
    EXPECT_EQ(database.execAndGet("PRAGMA user_version").getInt(), 99);
}

TEST_F(SqliteStoreTest, RefusesADatabaseOfAnotherProgramAndLeavesItAlone) {
    for (const char* version : {"0", "7", "-1"}) {
        execute("CREATE TABLE IF NOT EXISTS recipes (name TEXT)");
        execute((std::string("PRAGMA user_version = ") + version).c_str());
        const std::string before = contentOf(file());
        EXPECT_NE(failureOfOpening().find("is no cover store"), std::string::npos) << version;
        EXPECT_EQ(contentOf(file()), before);
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder_.path()), {}), 1)
            << "no file beside it";
    }
}

TEST_F(SqliteStoreTest, RefusesGarbageAndLeavesItAlone) {
    const std::string garbage(20'000, 'x');
    std::ofstream(file()) << garbage;
    testing::internal::CaptureStderr();
    EXPECT_EQ(failureOfOpening(), "The cover store is damaged; restore it from a backup or move it away.");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "sleevery.fcgi: store: open " + file() + ": file is not a database (code 26)\n");
    EXPECT_EQ(contentOf(file()), garbage);
}

TEST_F(SqliteStoreTest, TakesAnEmptyFileForANewStore) {
    std::ofstream(file()) << "";
    EXPECT_EQ(failureOfOpening(), "");
}

TEST_F(SqliteStoreTest, ManyProcessesMayMakeItAtOnce) {
    std::vector<pid_t> children;
    for (int i = 0; i < 8; ++i) {
        const pid_t child = fork();
        if (child == 0) {
            bool good = false;
            try {
                SqliteStore store(folder_.path());
                good = store.registerEntry({.artist = "Ada", .title = std::to_string(i)}).id > 0;
            } catch (util::Exception&) {
                good = false;
            }
            _exit(good ? 0 : 1);
        }
        children.push_back(child);
    }
    for (const pid_t child : children) {
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
    }
    EXPECT_EQ(SqliteStore(folder_.path()).emptyEntries().size(), 8U);
}

TEST_F(SqliteStoreTest, NeverUsesAnIdAgain) {
    SqliteStore store(folder_.path());
    const int id = store.registerEntry({.artist = "Ada", .title = "One"}).id;
    execute("DELETE FROM entries");
    EXPECT_GT(store.registerEntry({.artist = "Ada", .title = "Two"}).id, id);
}

TEST_F(SqliteStoreTest, ForgetsOldJobsButNotThoseThatAnOpenOneDependsOn) {
    SqliteStore store(folder_.path());
    const auto finished = [&](int entryId, const char* failure) {
        const int id = store.queueTagJob(entryId, "song", true);
        store.finishJob(id, failure);
        return id;
    };
    finished(1, "It can't be read.");
    const int waiting = store.queueDeleteJob(1);
    finished(2, "");
    finished(2, "It can't be read.");
    store.queueTagJob(3, "song", true);
    execute("UPDATE sqlite_sequence SET seq = 5094 WHERE name = 'jobs'");
    finished(4, "");
    execute("UPDATE sqlite_sequence SET seq = 10094 WHERE name = 'jobs'");
    EXPECT_EQ(finished(5, ""), 10'095);
    EXPECT_EQ(store.jobs(2).size(), 2U);
    while (finished(5, "") < 10'100) {
    }
    EXPECT_TRUE(store.jobs(2).empty());
    EXPECT_EQ(store.jobs(3).size(), 1U) << "it is not finished";
    EXPECT_EQ(store.jobs(4).size(), 1U) << "it is not old";
    EXPECT_EQ(store.jobs(1).size(), 2U);
    EXPECT_TRUE(store.tagJobFailedBefore({.id = waiting, .entryId = 1}));
}

TEST_F(SqliteStoreTest, GoesOnAfterADamageHasBeenMended) {
    SqliteStore store(folder_.path());
    const int id =
        store.storeImage({.artist = "Ada", .title = "Tide"},
                         {.bytes = bytesOf("tide"), .mimeType = "image/png"}, store::IfPresent::Replace);
    execute("ALTER TABLE entries RENAME TO elsewhere");
    testing::internal::CaptureStderr();
    EXPECT_EQ(failureOf([&] { (void)store.cover(id); }), "The cover store failed; standard error says more.");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "sleevery.fcgi: store: look up a cover: no such table: entries (code 1)\n");
    execute("ALTER TABLE elsewhere RENAME TO entries");
    EXPECT_TRUE(store.cover(id));
}

TEST_F(SqliteStoreTest, ALockThatNobodyGivesUpIsAFailureAndTheNextTryWorks) {
    SqliteStore store(folder_.path());
    SQLite::Database other(file(), SQLite::OPEN_READWRITE);
    other.exec("BEGIN IMMEDIATE");
    testing::internal::CaptureStderr();
    const auto change = [&] { store.setParameter({"a", "1"}); };
    EXPECT_EQ(failureOf(change), "The cover store is in use by another program; try again.");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "sleevery.fcgi: store: set a parameter: database is locked (code 5)\n");
    EXPECT_EQ(store.parameter("a"), std::nullopt) << "reading goes on meanwhile";
    other.exec("ROLLBACK");
    store.setParameter({"a", "1"});
    EXPECT_EQ(store.parameter("a"), "1");
}

TEST_F(SqliteStoreTest, WritesIntoTheDatabaseThatIsThereAfterItWasReplaced) {
    SqliteStore store(folder_.path());
    const store::Record record{.artist = "Ada", .title = "Tide"};
    const store::NewImage image{.bytes = bytesOf("tide"), .mimeType = "image/png"};
    store.storeImage(record, image, store::IfPresent::Replace);
    for (const char* ending : {"", "-wal", "-shm"})
        std::filesystem::remove(file() + ending);
    const int id = store.storeImage(record, image, store::IfPresent::Replace);
    EXPECT_TRUE(SqliteStore(folder_.path()).cover(id)) << "it is where the next process looks for it";

    std::filesystem::create_directory(folder_.path() / "backup");
    SqliteStore backup(folder_.path() / "backup");
    const int kept = backup.storeImage({.artist = "Kept", .title = "Song"}, image, store::IfPresent::Replace);
    for (const char* ending : {"", "-wal", "-shm"})
        std::filesystem::rename((folder_.path() / "backup/covers.db").string() + ending, file() + ending);
    EXPECT_TRUE(store.findEntry({.artist = "Kept", .title = "Song"})) << kept;
    EXPECT_FALSE(store.findEntry(record));
}

TEST_F(SqliteStoreTest, FlushesManyParametersAtOnce) {
    SqliteStore store(folder_.path());
    const int before = tests::Flushes::count;
    for (const char* name : {"a", "b", "c"})
        store.setParameter({name, "1"});
    store.deleteParameter("a");
    EXPECT_EQ(tests::Flushes::count, before);
    store.flush();
    EXPECT_EQ(tests::Flushes::count, before + 1);
    store.flush();
    EXPECT_EQ(tests::Flushes::count, before + 1) << "there was nothing to do";
    store.deleteParameter("b");
    store.flush();
    EXPECT_EQ(tests::Flushes::count, before + 2);
}

TEST_F(SqliteStoreTest, WhatConcernsWebServicesIsFlushedOnlyWhenAskedFor) {
    SqliteStore store(folder_.path());
    const store::Clock::time_point now = store::Clock::now();
    const int before = tests::Flushes::count;
    store.keepAnswer("key", std::string(300'000, 'x'), now + std::chrono::hours(1)); // looks for surplus, too
    EXPECT_TRUE(store.keptAnswer("key", now));
    EXPECT_EQ(store.reserveTurn("deezer", {}, now, now), now);
    store.setServiceState("deezer", {.failures = 1});
    EXPECT_EQ(store.serviceState("deezer").failures, 1);
    store.offerImage({.bytes = bytesOf("tide"), .mimeType = "image/png"});
    EXPECT_EQ(tests::Flushes::count, before);
    store.flush();
    EXPECT_EQ(tests::Flushes::count, before + 1);
}

TEST_F(SqliteStoreTest, FlushesACoverAndAJobByThemselves) {
    SqliteStore store(folder_.path());
    int before = tests::Flushes::count;
    const store::NewImage image{.bytes = bytesOf("tide"), .mimeType = "image/png"};
    const int id = store.storeImage({.artist = "Ada", .title = "Tide"}, image, store::IfPresent::Replace);
    EXPECT_GT(tests::Flushes::count, before);
    before = tests::Flushes::count;
    store.queueDeleteJob(id);
    EXPECT_GT(tests::Flushes::count, before);
}

TEST_F(SqliteStoreTest, WhatCouldNotBeFlushedIsStillToBeFlushed) {
    SqliteStore store(folder_.path());
    store.setParameter({"a", "1"});
    testing::internal::CaptureStderr();
    tests::Flushes::failed = true;
    const std::string failure = failureOf([&] { store.flush(); });
    tests::Flushes::failed = false;
    EXPECT_EQ(failure, "The cover store failed; standard error says more.");
    EXPECT_EQ(testing::internal::GetCapturedStderr().find("sleevery.fcgi: store: flush: "), 0U);
    EXPECT_EQ(store.parameter("a"), "1");
    const int before = tests::Flushes::count;
    store.flush();
    EXPECT_EQ(tests::Flushes::count, before + 1);
}

TEST_F(SqliteStoreTest, WhatAnotherProcessMovedOutOfTheLogIsFlushedToo) {
    SqliteStore store(folder_.path());
    store.setParameter({"a", "1"});
    execute("PRAGMA wal_checkpoint(TRUNCATE)");
    store.flush();
    EXPECT_EQ(SqliteStore(folder_.path()).parameter("a"), "1");
    store.setParameter({"a", "2"});
    store.flush();
    EXPECT_EQ(SqliteStore(folder_.path()).parameter("a"), "2");
}

TEST_F(SqliteStoreTest, ReadsGoOnWhereNothingCanBeWritten) {
    SqliteStore store(folder_.path());
    const int id =
        store.storeImage({.artist = "Ada", .title = "Tide"},
                         {.bytes = bytesOf("tide"), .mimeType = "image/png"}, store::IfPresent::Replace);
    execute(
        "CREATE TRIGGER no_writing BEFORE INSERT ON parameters BEGIN SELECT RAISE(FAIL, 'no writing'); END");
    testing::internal::CaptureStderr();
    EXPECT_NE(failureOf([&] { store.setParameter({"a", "1"}); }), "");
    testing::internal::GetCapturedStderr();
    EXPECT_TRUE(store.cover(id));
}

TEST_F(SqliteStoreTest, AnImageThatCanNotBeOfferedIsNotKeptEither) {
    SqliteStore store(folder_.path());
    const store::NewImage image{.bytes = bytesOf("tide"), .mimeType = "image/png"};
    execute("CREATE TRIGGER no_offers BEFORE INSERT ON offered_images BEGIN SELECT RAISE(FAIL, 'no'); END");
    testing::internal::CaptureStderr();
    EXPECT_NE(failureOf([&] { store.offerImage(image); }), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "sleevery.fcgi: store: offer an image: no (code 1811)\n");
    EXPECT_EQ(SQLite::Database(file()).execAndGet("SELECT count(*) FROM images").getInt(), 0);
    execute("DROP TRIGGER no_offers");
    EXPECT_TRUE(store.image(store.offerImage(image)));
}

TEST_F(SqliteStoreTest, AnAnswerThatFindsNoRoomLeavesTheOldOneAndTheNextOneIsKept) {
    SqliteStore store(folder_.path());
    const store::Clock::time_point now = store::Clock::now();
    store.keepAnswer("key", "old", now + std::chrono::hours(1));
    testing::internal::CaptureStderr();
    {
        const tests::ShortFiles less(std::filesystem::file_size(file() + "-wal") + 100'000);
        EXPECT_NE(failureOf([&] {
                      store.keepAnswer("key", std::string(1'000'000, 'x'), now + std::chrono::hours(1));
                  }),
                  "");
        EXPECT_EQ(store.keptAnswer("key", now), "old");
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr().find("sleevery.fcgi: store: keep an answer: "), 0U);
    EXPECT_EQ(store.keptAnswer("key", now), "old");
    store.keepAnswer("key", "new", now + std::chrono::hours(1));
    EXPECT_EQ(store.keptAnswer("key", now), "new");
}

TEST_F(SqliteStoreTest, AnswersAreFoundWhileAnotherProcessWrites) {
    SqliteStore store(folder_.path());
    const store::Clock::time_point now = store::Clock::now();
    store.keepAnswer("key", "answer", now + std::chrono::hours(1));
    SQLite::Database other(file(), SQLite::OPEN_READWRITE);
    other.exec("BEGIN IMMEDIATE; UPDATE answers SET answer = x''");
    EXPECT_EQ(store.keptAnswer("key", now), "answer");
    EXPECT_EQ(store.serviceState("deezer"), store::ServiceState{});
}

} // namespace
