// SPDX-License-Identifier: MIT
#include "store/SqliteStore.h"
#include "tests/unit/Bytes.h"
#include "tests/unit/TemporaryFolder.h"
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
    EXPECT_EQ(database.execAndGet("PRAGMA user_version").getInt(), 1);
    EXPECT_EQ(database.execAndGet("PRAGMA page_size").getInt(), 8192);
}

TEST_F(SqliteStoreTest, RefusesAStoreOfANewerVersion) {
    EXPECT_EQ(failureOfOpening(), "");
    execute("PRAGMA user_version = 99");
    EXPECT_NE(failureOfOpening().find("written by a newer version of this program (its version is 99"),
              std::string::npos);
    SQLite::Database database(file());
    EXPECT_EQ(database.execAndGet("PRAGMA user_version").getInt(), 99);
}

TEST_F(SqliteStoreTest, RefusesADatabaseOfAnotherProgram) {
    execute("CREATE TABLE recipes (name TEXT)");
    EXPECT_NE(failureOfOpening().find("is no cover store"), std::string::npos);
    SQLite::Database database(file());
    EXPECT_EQ(database.execAndGet("SELECT count(*) FROM sqlite_master").getInt(), 1);
}

TEST_F(SqliteStoreTest, RefusesGarbageAndLeavesItAlone) {
    const std::string garbage(20'000, 'x');
    std::ofstream(file()) << garbage;
    testing::internal::CaptureStderr();
    EXPECT_EQ(failureOfOpening(), "The cover store is damaged; restore it from a backup or move it away.");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "sleevery.fcgi: store: open " + file() + ": file is not a database (code 26)\n");
    std::ifstream in(file());
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), garbage);
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
    EXPECT_EQ(failureOf([&] {
                  store.setParameter({"a", "1"});
              }),
              "The cover store is in use by another program; try again.");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "sleevery.fcgi: store: set a parameter: database is locked (code 5)\n");
    EXPECT_EQ(store.parameter("a"), std::nullopt) << "reading goes on meanwhile";
    other.exec("ROLLBACK");
    store.setParameter({"a", "1"});
    EXPECT_EQ(store.parameter("a"), "1");
}

} // namespace
