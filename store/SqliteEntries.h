// SPDX-License-Identifier: MIT
#pragma once

#include "store/CoverStore.h"
#include "store/SqliteConnection.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// Entries and their images in the database. None of these opens a transaction: the caller does.
namespace store::sqlite {

[[nodiscard]] std::optional<Entry> findEntry(SqliteConnection& connection, const Record& record);
[[nodiscard]] std::int64_t insertEntry(SqliteConnection& connection, const Record& record);
void dropOldestEmptyEntries(SqliteConnection& connection, int keep);

/** Writes into the entry what `record` has and it lacks. */
void completeEntry(SqliteConnection& connection, const Entry& entry, const Record& record);

/** The row of the image with that content, made where there is none. */
[[nodiscard]] std::int64_t imageRow(SqliteConnection& connection, const std::string& hash,
                                    const NewImage& image);

/** Makes the image the entry's; the one it had becomes an earlier one, and the earliest ones beyond the bound
 * go. */
void setEntryImage(SqliteConnection& connection, int entryId, std::int64_t imageRow);

/** Leaves the entry without an image; the one it had becomes an earlier one. */
void dropEntryImage(SqliteConnection& connection, int entryId);

[[nodiscard]] std::optional<ImageInfo> cover(SqliteConnection& connection, int entryId);
[[nodiscard]] std::vector<ImageInfo> earlierImages(SqliteConnection& connection, int entryId);
/** Read piece by piece into the buffer: as a value of a statement, SQLite would put it together in one of its
 * own. */
[[nodiscard]] std::optional<util::Buffer> imageContent(SqliteConnection& connection, const std::string& hash);

[[nodiscard]] std::vector<Entry> emptyEntries(SqliteConnection& connection);
[[nodiscard]] SearchResult search(SqliteConnection& connection, const Search& search, int limit);

} // namespace store::sqlite
