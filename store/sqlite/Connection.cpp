// SPDX-License-Identifier: MIT
#include "store/sqlite/Connection.h"

#include "store/sqlite/Schema.h"
#include "util/Exception.h"
#include "util/FileDescriptor.h"
#include "util/Log.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sqlite3.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <chrono>

namespace store {
namespace {

constexpr std::chrono::milliseconds busyTimeout{5000};

// 8 KiB pages: covers are large values, and half as many pages make a chain of half the length. The rest:
// every commit is flushed, the log shrinks again after a burst of uploads, and a schema from a hostile file
// runs no functions.
constexpr const char* settings = "PRAGMA page_size = 8192;"
                                 "PRAGMA synchronous = FULL;"
                                 "PRAGMA foreign_keys = ON;"
                                 "PRAGMA trusted_schema = OFF;"
                                 "PRAGMA temp_store = MEMORY;"
                                 "PRAGMA journal_size_limit = 67108864;";

bool isWal(SQLite::Database& database) {
    return database.execAndGet("PRAGMA journal_mode").getString() == "wal";
}

// Changing the journal mode is no transaction and gives up at once when another process does the same, so one
// has to wait for the other.
void enterWalMode(SQLite::Database& database, const std::filesystem::path& file) {
    if (isWal(database)) return;
    const std::filesystem::path lockFile = file.string() + ".lock";
    const util::FileDescriptor lock(
        ::open(lockFile.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (!lock || ::flock(lock.get(), LOCK_EX) != 0)
        throw util::Exception("The state folder can't be locked while the cover store is made.");
    if (isWal(database)) return;
    if (database.execAndGet("PRAGMA journal_mode = WAL").getString() != "wal")
        throw util::Exception(
            "The file system of the state folder can't hold a cover store (no shared memory for its log).");
}

int primaryCode(const SQLite::Exception& failure) noexcept { return failure.getErrorCode() & 0xFF; }

const char* sentenceFor(int code) {
    switch (code) {
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
        return "The cover store is in use by another program; try again.";
    case SQLITE_FULL:
        return "The disk with the cover store is full; nothing was changed.";
    case SQLITE_NOTADB:
    case SQLITE_CORRUPT:
        return "The cover store is damaged; restore it from a backup or move it away.";
    case SQLITE_READONLY:
    case SQLITE_PERM:
    case SQLITE_AUTH:
        return "The cover store can't be written to.";
    case SQLITE_CANTOPEN:
        return "The cover store can't be opened.";
    case SQLITE_TOOBIG:
        return "The value is too large for the cover store.";
    case SQLITE_NOMEM:
        return "There is not enough memory for the cover store.";
    default:
        return "The cover store failed; standard error says more.";
    }
}

} // namespace

StatementUse::~StatementUse() {
    statement_.tryReset();
    try {
        statement_.clearBindings();
        // NOLINTNEXTLINE(bugprone-empty-catch): the next use binds all values anew
    } catch (const SQLite::Exception&) {
    }
}

UnflushedCommits::UnflushedCommits(SqliteConnection& connection) : connection_(connection) {
    connection_.database().exec("PRAGMA synchronous = NORMAL");
}

UnflushedCommits::~UnflushedCommits() { connection_.database().tryExec("PRAGMA synchronous = FULL"); }

SqliteConnection::SqliteConnection(const std::filesystem::path& file)
    : database_(file.string(), SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE | SQLite::OPEN_NOMUTEX,
                static_cast<int>(busyTimeout.count())) {
    if (sqlite3_db_readonly(database_.getHandle(), "main") == 1)
        throw util::Exception("The cover store can't be written to.");
    refuseForeignDatabase(database_); // before anything is changed
    database_.exec(settings);
    enterWalMode(database_, file);
    migrate(database_);
}

bool SqliteConnection::hasMoved() noexcept {
    int moved = 0;
    sqlite3_file_control(database_.getHandle(), "main", SQLITE_FCNTL_HAS_MOVED, &moved);
    return moved != 0;
}

void SqliteConnection::disown() noexcept {
    // Closing the last connection would delete the log by its name, and that may be another database's by
    // now.
    sqlite3_db_config(database_.getHandle(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
}

void SqliteConnection::flush() {
    // What is no longer in the log was flushed when it moved into the database.
    sqlite3_file* log = nullptr;
    sqlite3_file_control(database_.getHandle(), "main", SQLITE_FCNTL_JOURNAL_POINTER,
                         static_cast<void*>(&log));
    if (log == nullptr || log->pMethods == nullptr) return; // this connection has not used it yet
    if (const int code = log->pMethods->xSync(log, SQLITE_SYNC_NORMAL); code != SQLITE_OK)
        throw SQLite::Exception("the log can't be flushed", code);
}

void SqliteConnection::releaseMemory() noexcept { sqlite3_db_release_memory(database_.getHandle()); }

StatementUse SqliteConnection::use(const char* sql) {
    std::unique_ptr<SQLite::Statement>& statement = statements_[sql];
    if (!statement) statement = std::make_unique<SQLite::Statement>(database_, sql);
    return StatementUse(*statement);
}

void throwStoreFailure(std::string_view doing, const SQLite::Exception& failure) {
    util::logLine(
        fmt::format("store: {}: {} (code {})", doing, failure.what(), failure.getExtendedErrorCode()));
    // No room for the file that the processes share is reported as a failed write.
    const bool noSpace = failure.getExtendedErrorCode() == SQLITE_IOERR_SHMSIZE;
    throw util::Exception(sentenceFor(noSpace ? SQLITE_FULL : primaryCode(failure)));
}

bool spoilsConnection(const SQLite::Exception& failure) noexcept {
    const int code = primaryCode(failure);
    return code == SQLITE_NOTADB || code == SQLITE_CORRUPT;
}

} // namespace store
