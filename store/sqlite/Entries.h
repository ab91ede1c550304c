// SPDX-License-Identifier: MIT
#pragma once

#include "store/CoverStore.h"
#include "store/sqlite/Connection.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// Entries in the database. None of these opens a transaction: the caller does.
namespace store::sqlite {

[[nodiscard]] std::optional<Entry> findEntry(SqliteConnection& connection, const Record& record);
[[nodiscard]] std::int64_t insertEntry(SqliteConnection& connection, const Record& record);
void dropOldestEmptyEntries(SqliteConnection& connection, int keep);

/** Writes into the entry what `record` has and it lacks. */
void completeEntry(SqliteConnection& connection, const Entry& entry, const Record& record);

[[nodiscard]] std::vector<Entry> emptyEntries(SqliteConnection& connection);
[[nodiscard]] SearchResult search(SqliteConnection& connection, const Search& search, int limit);

} // namespace store::sqlite
