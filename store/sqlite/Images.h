// SPDX-License-Identifier: MIT
#pragma once

#include "store/CoverStore.h"
#include "store/sqlite/Connection.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// Images in the database, and what refers to them: one that nothing refers to any more goes. None of these
// opens a transaction: the caller does.
namespace store::sqlite {

/** The image in a row's columns from `first` on: hash, type, width, height, size, shown as received. */
[[nodiscard]] ImageInfo readImage(const SQLite::Statement& row, int first);

/** The row of the image with that content, made where there is none. */
[[nodiscard]] std::int64_t imageRow(SqliteConnection& connection, const std::string& hash,
                                    const NewImage& image);

/** Makes the image the entry's; the one it had becomes an earlier one, and the earliest ones beyond the bound
 * go. */
void setEntryImage(SqliteConnection& connection, int entryId, std::int64_t imageRow);

/** Leaves the entry without an image; the one it had becomes an earlier one. */
void dropEntryImage(SqliteConnection& connection, int entryId);

/** The newest `keep` of the entry's earlier images stay. */
void dropEarlierImages(SqliteConnection& connection, std::int64_t entryId, int keep);

/** Makes the image the one that was offered last; the first ones beyond the bound go. */
void offerImage(SqliteConnection& connection, std::int64_t imageRow);

[[nodiscard]] std::optional<ImageInfo> cover(SqliteConnection& connection, int entryId);
[[nodiscard]] std::vector<ImageInfo> earlierImages(SqliteConnection& connection, int entryId);
/** Read piece by piece into the buffer: as a value of a statement, SQLite would put it together in one of its
 * own. */
[[nodiscard]] std::optional<util::Buffer> imageContent(SqliteConnection& connection, const std::string& hash);

} // namespace store::sqlite
