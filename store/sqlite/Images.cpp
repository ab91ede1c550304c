// SPDX-License-Identifier: MIT
#include "store/sqlite/Images.h"

#include "store/sqlite/Statements.h"

#include <sqlite3.h>

#include <memory>
#include <utility>

namespace store::sqlite {
namespace {

// Every statement that yields images lists the same columns in the same order, and readImage() reads them.
#define IMAGE_COLUMNS                                                                                        \
    "i.hash, i.mime_type, i.width_pixels, i.height_pixels, i.size_bytes, i.shown_as_received "

constexpr const char* selectImageRow = "SELECT id FROM images WHERE hash = ?";
constexpr const char* insertImage =
    "INSERT INTO images (hash, mime_type, width_pixels, height_pixels, size_bytes, "
    "shown_as_received, content) VALUES (?, ?, ?, ?, ?, ?, ?)";
constexpr const char* selectCover =
    "SELECT " IMAGE_COLUMNS "FROM entries e JOIN images i ON i.id = e.image WHERE e.id = ?";
constexpr const char* updateImage = "UPDATE entries SET image = ? WHERE id = ?";

constexpr const char* forgetEarlier = "DELETE FROM earlier_images WHERE entry = ? AND image = ?";
constexpr const char* rememberEarlier =
    "INSERT INTO earlier_images (entry, image) "
    "SELECT id, image FROM entries WHERE id = ? AND image IS NOT NULL AND image <> ? "
    "ON CONFLICT DO NOTHING";
constexpr const char* moveToEarlier = "INSERT INTO earlier_images (entry, image) "
                                      "SELECT id, image FROM entries WHERE id = ? AND image IS NOT NULL "
                                      "ON CONFLICT DO NOTHING";
constexpr const char* clearImage = "UPDATE entries SET image = NULL WHERE id = ?";
constexpr const char* selectEarlier =
    "SELECT " IMAGE_COLUMNS "FROM earlier_images h JOIN images i ON i.id = h.image "
    "WHERE h.entry = ? ORDER BY h.id DESC";
constexpr const char* selectSurplusEarlier =
    "SELECT id, image FROM earlier_images WHERE entry = ? ORDER BY id DESC LIMIT -1 OFFSET ?";
constexpr const char* deleteEarlier = "DELETE FROM earlier_images WHERE id = ?";

// One that was offered before comes to the end.
constexpr const char* offerAnew = "INSERT OR REPLACE INTO offered_images (image) VALUES (?)";
constexpr const char* selectSurplusOffered =
    "SELECT id, image FROM (SELECT o.id, o.image, row_number() OVER newest AS place, "
    "sum(i.size_bytes) OVER newest AS bytes FROM offered_images o JOIN images i ON i.id = o.image "
    "WINDOW newest AS (ORDER BY o.id DESC)) WHERE place > ?1 OR (bytes > ?2 AND place > 1)";
constexpr const char* deleteOffered = "DELETE FROM offered_images WHERE id = ?";

constexpr const char* deleteUnusedImage =
    "DELETE FROM images WHERE id = ?1 AND NOT EXISTS (SELECT 1 FROM entries WHERE image = ?1) "
    "AND NOT EXISTS (SELECT 1 FROM earlier_images WHERE image = ?1) "
    "AND NOT EXISTS (SELECT 1 FROM offered_images WHERE image = ?1)";

#undef IMAGE_COLUMNS

/** Deletes the references that `selectSurplus` yields, each with its image, and the images that nothing
 * refers to then. */
void dropReferences(SqliteConnection& connection, SQLite::Statement& selectSurplus, const char* deleteRow) {
    std::vector<std::pair<std::int64_t, std::int64_t>> surplus;
    while (selectSurplus.executeStep())
        surplus.emplace_back(selectSurplus.getColumn(0).getInt64(), selectSurplus.getColumn(1).getInt64());
    selectSurplus.reset();
    for (const auto& [row, image] : surplus) {
        execute(connection, deleteRow, row);
        execute(connection, deleteUnusedImage, image);
    }
}

struct BlobCloser {
    void operator()(sqlite3_blob* blob) const noexcept { sqlite3_blob_close(blob); }
};

} // namespace

ImageInfo readImage(const SQLite::Statement& row, int first) {
    return {.hash = row.getColumn(first).getString(),
            .mimeType = row.getColumn(first + 1).getString(),
            .widthPixels = row.getColumn(first + 2).getInt(),
            .heightPixels = row.getColumn(first + 3).getInt(),
            .sizeBytes = row.getColumn(first + 4).getInt64(),
            .shownAsReceived = row.getColumn(first + 5).getInt() != 0};
}

std::int64_t imageRow(SqliteConnection& connection, const std::string& hash, const NewImage& image) {
    {
        StatementUse statement = connection.use(selectImageRow);
        statement->bind(1, hash);
        if (statement->executeStep()) return statement->getColumn(0).getInt64();
    }
    StatementUse statement = connection.use(insertImage);
    statement->bind(1, hash);
    statement->bind(2, image.mimeType);
    statement->bind(3, image.widthPixels);
    statement->bind(4, image.heightPixels);
    statement->bind(5, static_cast<std::int64_t>(image.bytes.size()));
    statement->bind(6, image.shownAsReceived ? 1 : 0);
    statement->bindNoCopy(7, image.bytes.data(), static_cast<int>(image.bytes.size()));
    statement->exec();
    return connection.database().getLastInsertRowid();
}

void dropEarlierImages(SqliteConnection& connection, std::int64_t entryId, int keep) {
    StatementUse statement = connection.use(selectSurplusEarlier);
    statement->bind(1, entryId);
    statement->bind(2, keep);
    dropReferences(connection, *statement, deleteEarlier);
}

void setEntryImage(SqliteConnection& connection, int entryId, std::int64_t imageRow) {
    execute(connection, forgetEarlier, entryId, imageRow);
    execute(connection, rememberEarlier, entryId, imageRow);
    execute(connection, updateImage, imageRow, entryId);
    dropEarlierImages(connection, entryId, CoverStore::maxEarlierImages);
}

void dropEntryImage(SqliteConnection& connection, int entryId) {
    execute(connection, moveToEarlier, entryId);
    execute(connection, clearImage, entryId);
    dropEarlierImages(connection, entryId, CoverStore::maxEarlierImages);
}

std::optional<ImageInfo> cover(SqliteConnection& connection, int entryId) {
    StatementUse statement = connection.use(selectCover);
    statement->bind(1, entryId);
    if (!statement->executeStep()) return std::nullopt;
    return readImage(*statement, 0);
}

std::vector<ImageInfo> earlierImages(SqliteConnection& connection, int entryId) {
    std::vector<ImageInfo> images;
    StatementUse statement = connection.use(selectEarlier);
    statement->bind(1, entryId);
    while (statement->executeStep())
        images.push_back(readImage(*statement, 0));
    return images;
}

std::optional<util::Buffer> imageContent(SqliteConnection& connection, const std::string& hash) {
    std::int64_t row = 0;
    {
        StatementUse statement = connection.use(selectImageRow);
        statement->bind(1, hash);
        if (!statement->executeStep()) return std::nullopt;
        row = statement->getColumn(0).getInt64();
    }
    sqlite3* database = connection.database().getHandle();
    sqlite3_blob* opened = nullptr;
    const int result = sqlite3_blob_open(database, "main", "images", "content", row, 0, &opened);
    const std::unique_ptr<sqlite3_blob, BlobCloser> blob(opened);
    if (result != SQLITE_OK) throw SQLite::Exception(database, result);
    const int size = sqlite3_blob_bytes(blob.get());
    util::Buffer content(static_cast<std::size_t>(size));
    if (const int read = sqlite3_blob_read(blob.get(), content.data(), size, 0); read != SQLITE_OK)
        throw SQLite::Exception(database, read);
    return content;
}

void offerImage(SqliteConnection& connection, std::int64_t imageRow) {
    execute(connection, offerAnew, imageRow);
    StatementUse statement = connection.use(selectSurplusOffered);
    statement->bind(1, CoverStore::maxOfferedImages);
    statement->bind(2, CoverStore::maxOfferedBytes);
    dropReferences(connection, *statement, deleteOffered);
}

} // namespace store::sqlite
