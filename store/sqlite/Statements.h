// SPDX-License-Identifier: MIT
#pragma once

#include "store/CoverStore.h"
#include "store/sqlite/Connection.h"

#include <cstdint>
#include <string_view>

// How values get into statements and out of them.
namespace store::sqlite {

/** Runs a statement that yields nothing. */
void execute(SqliteConnection& connection, const char* sql, std::int64_t first);
void execute(SqliteConnection& connection, const char* sql, std::int64_t first, std::int64_t second);

/** They are not copied, and have to stay while the statement is in use. */
void bindBytes(SQLite::Statement& statement, int index, std::string_view bytes);

/** A moment as the database keeps it: milliseconds since 1970. */
[[nodiscard]] std::int64_t toMilliseconds(Clock::time_point time);
[[nodiscard]] Clock::time_point fromMilliseconds(std::int64_t milliseconds);

} // namespace store::sqlite
