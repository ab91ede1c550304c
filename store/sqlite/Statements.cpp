// SPDX-License-Identifier: MIT
#include "store/sqlite/Statements.h"

#include <chrono>

namespace store::sqlite {

void execute(SqliteConnection& connection, const char* sql, std::int64_t first) {
    StatementUse statement = connection.use(sql);
    statement->bind(1, first);
    statement->exec();
}

void execute(SqliteConnection& connection, const char* sql, std::int64_t first, std::int64_t second) {
    StatementUse statement = connection.use(sql);
    statement->bind(1, first);
    statement->bind(2, second);
    statement->exec();
}

void bindBytes(SQLite::Statement& statement, int index, std::string_view bytes) {
    // An empty view may have no address, and SQLite makes that NULL.
    const void* data = bytes.empty() ? "" : bytes.data();
    statement.bindNoCopy(index, data, static_cast<int>(bytes.size()));
}

std::int64_t toMilliseconds(Clock::time_point time) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(time.time_since_epoch()).count();
}

Clock::time_point fromMilliseconds(std::int64_t milliseconds) {
    return Clock::time_point(std::chrono::milliseconds(milliseconds));
}

} // namespace store::sqlite
