// SPDX-License-Identifier: MIT
#pragma once

#include <SQLiteCpp/Database.h>
#include <SQLiteCpp/Statement.h>

#include <filesystem>
#include <map>
#include <memory>
#include <string_view>

namespace store {

/** A statement in use: whichever way it is left, it is reset and lets go of what was bound to it. */
class StatementUse {
public:
    explicit StatementUse(SQLite::Statement& statement) noexcept : statement_(statement) {}
    StatementUse(const StatementUse&) = delete;
    StatementUse& operator=(const StatementUse&) = delete;
    ~StatementUse();

    SQLite::Statement* operator->() noexcept { return &statement_; }
    SQLite::Statement& operator*() noexcept { return statement_; }

private:
    SQLite::Statement& statement_;
};

class SqliteConnection;

/**
 * While it lives, commits are not flushed by themselves: until SqliteConnection::flush() or the next flushed
 * commit, which takes them along, they may be lost in a power cut - but not when the process dies. The
 * database stays whole in any case. Made and destroyed outside of transactions.
 */
class UnflushedCommits {
public:
    explicit UnflushedCommits(SqliteConnection& connection);
    UnflushedCommits(const UnflushedCommits&) = delete;
    UnflushedCommits& operator=(const UnflushedCommits&) = delete;
    ~UnflushedCommits();

private:
    SqliteConnection& connection_;
};

/** One open database with its prepared statements. One thread. */
class SqliteConnection {
public:
    /** Opens the database, making or migrating it. @throws util::Exception, SQLite::Exception */
    explicit SqliteConnection(const std::filesystem::path& file);

    /** True when the file that is open is no longer the one of that name: somebody has removed or replaced
     * it. */
    [[nodiscard]] bool hasMoved() noexcept;

    /** Leaves the files of that name alone when the connection is closed. */
    void disown() noexcept;

    /** Brings to disk whatever has been committed, by any process. @throws SQLite::Exception */
    void flush();

    /** Gives back what is cached: worth it after a transaction that went through megabytes. */
    void releaseMemory() noexcept;

    [[nodiscard]] SQLite::Database& database() noexcept { return database_; }

    /** The prepared form of `sql`, a text that lives as long as the program. */
    [[nodiscard]] StatementUse use(const char* sql);

private:
    SQLite::Database database_;
    std::map<const char*, std::unique_ptr<SQLite::Statement>> statements_;
};

/**
 * Writes what SQLite said to standard error and throws the sentence for the person.
 * @param doing what was tried, for the log
 */
[[noreturn]] void throwStoreFailure(std::string_view doing, const SQLite::Exception& failure);

/** True when the connection had better be opened anew before the next try. */
[[nodiscard]] bool spoilsConnection(const SQLite::Exception& failure) noexcept;

} // namespace store
