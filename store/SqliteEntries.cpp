// SPDX-License-Identifier: MIT
#include "store/SqliteEntries.h"

#include "store/MatchKey.h"
#include "store/SearchWords.h"

#include <sqlite3.h>

#include <memory>

namespace store::sqlite {
namespace {

// Every statement that yields entries lists the same columns in the same order, and readEntry() reads them.
#define ENTRY_COLUMNS                                                                                        \
    "e.id, e.artist, e.title, e.album, e.genre, e.song_filename, e.uid, e.image_url, e.sampler, "            \
    "i.hash, i.mime_type, i.width_pixels, i.height_pixels, i.size_bytes, i.shown_as_received "
#define ENTRY_TABLES "FROM entries e LEFT JOIN images i ON i.id = e.image "
#define IMAGE_COLUMNS                                                                                        \
    "i.hash, i.mime_type, i.width_pixels, i.height_pixels, i.size_bytes, i.shown_as_received "

constexpr const char* selectByAlbum = "SELECT " ENTRY_COLUMNS ENTRY_TABLES "WHERE e.album_key = ?";
// An entry without an album is the song's own; among albums the one that has a cover, then the newest, is the
// best guess.
constexpr const char* selectByTitle =
    "SELECT " ENTRY_COLUMNS ENTRY_TABLES "WHERE e.title_key = ? "
    "ORDER BY e.album_key IS NULL DESC, e.image IS NOT NULL DESC, e.id DESC LIMIT 1";
constexpr const char* selectEmpty =
    "SELECT " ENTRY_COLUMNS ENTRY_TABLES "WHERE e.image IS NULL ORDER BY e.id DESC";
constexpr const char* selectNewest = "SELECT " ENTRY_COLUMNS ENTRY_TABLES "ORDER BY e.id DESC LIMIT ?";
constexpr const char* countAll = "SELECT count(*) FROM entries";
// Backwards through the index costs twice what forwards does, so that is only for where most of it is cut
// off.
constexpr const char* selectFewMatching =
    "SELECT " ENTRY_COLUMNS ENTRY_TABLES
    "WHERE e.id IN (SELECT rowid FROM entry_words WHERE entry_words MATCH ? LIMIT ?) ORDER BY e.id DESC";
constexpr const char* selectNewestMatching =
    "SELECT " ENTRY_COLUMNS ENTRY_TABLES
    "WHERE e.id IN (SELECT rowid FROM entry_words WHERE entry_words MATCH ? "
    "ORDER BY rowid DESC LIMIT ?) ORDER BY e.id DESC";
constexpr const char* countMatching = "SELECT count(*) FROM entry_words WHERE entry_words MATCH ?";

constexpr const char* insertEntryRow = "INSERT INTO entries (artist, title, album, genre, song_filename, "
                                       "uid, image_url, sampler, album_key, title_key) "
                                       "VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?)";
constexpr const char* insertWords = "INSERT INTO entry_words (rowid, words) VALUES (?, ?)";
constexpr const char* updateEntry = "UPDATE entries SET artist = ?, title = ?, album = ?, genre = ?, "
                                    "song_filename = ?, uid = ?, image_url = ?, sampler = ?, "
                                    "album_key = ?, title_key = ? WHERE id = ?";
constexpr const char* deleteWords = "DELETE FROM entry_words WHERE rowid = ?";
constexpr const char* selectSurplusEmpty =
    "SELECT id FROM entries WHERE image IS NULL ORDER BY id DESC LIMIT -1 OFFSET ?";
constexpr const char* deleteEntry = "DELETE FROM entries WHERE id = ?";

constexpr const char* selectImageRow = "SELECT id FROM images WHERE hash = ?";
constexpr const char* insertImage =
    "INSERT INTO images (hash, mime_type, width_pixels, height_pixels, size_bytes, "
    "shown_as_received, content) VALUES (?, ?, ?, ?, ?, ?, ?)";
constexpr const char* selectContentRow = "SELECT id FROM images WHERE hash = ?";
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
constexpr const char* deleteUnusedImage =
    "DELETE FROM images WHERE id = ?1 AND NOT EXISTS (SELECT 1 FROM entries WHERE image = ?1) "
    "AND NOT EXISTS (SELECT 1 FROM earlier_images WHERE image = ?1)";

#undef ENTRY_COLUMNS
#undef ENTRY_TABLES
#undef IMAGE_COLUMNS

ImageInfo readImage(const SQLite::Statement& row, int first) {
    return {.hash = row.getColumn(first).getString(),
            .mimeType = row.getColumn(first + 1).getString(),
            .widthPixels = row.getColumn(first + 2).getInt(),
            .heightPixels = row.getColumn(first + 3).getInt(),
            .sizeBytes = row.getColumn(first + 4).getInt64(),
            .shownAsReceived = row.getColumn(first + 5).getInt() != 0};
}

Entry readEntry(const SQLite::Statement& row) {
    Entry entry;
    entry.id = row.getColumn(0).getInt();
    entry.record = {.artist = row.getColumn(1).getString(),
                    .title = row.getColumn(2).getString(),
                    .album = row.getColumn(3).getString(),
                    .genre = row.getColumn(4).getString(),
                    .songFilename = row.getColumn(5).getString(),
                    .uid = row.getColumn(6).getString(),
                    .imageUrl = row.getColumn(7).getString(),
                    .sampler = row.getColumn(8).getInt() != 0};
    if (!row.isColumnNull(9)) entry.image = readImage(row, 9);
    return entry;
}

std::vector<Entry> readEntries(SQLite::Statement& statement) {
    std::vector<Entry> entries;
    while (statement.executeStep())
        entries.push_back(readEntry(statement));
    return entries;
}

void bindKey(SQLite::Statement& statement, int index, const std::string& key) {
    if (key.empty())
        statement.bind(index);
    else
        statement.bind(index, key);
}

void bindRecord(SQLite::Statement& statement, const Record& record) {
    const MatchKeys keys = matchKeys(record);
    statement.bind(1, record.artist);
    statement.bind(2, record.title);
    statement.bind(3, record.album);
    statement.bind(4, record.genre);
    statement.bind(5, record.songFilename);
    statement.bind(6, record.uid);
    statement.bind(7, record.imageUrl);
    statement.bind(8, record.sampler ? 1 : 0);
    bindKey(statement, 9, keys.album);
    bindKey(statement, 10, keys.title);
}

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

void indexWords(SqliteConnection& connection, std::int64_t id, const Record& record) {
    StatementUse statement = connection.use(insertWords);
    statement->bind(1, id);
    statement->bind(2, searchWords(record));
    statement->exec();
}

std::optional<Entry> selectOne(SqliteConnection& connection, const char* sql, const std::string& key) {
    StatementUse statement = connection.use(sql);
    statement->bind(1, key);
    if (!statement->executeStep()) return std::nullopt;
    return readEntry(*statement);
}

bool lacks(const std::string& there, const std::string& given) { return there.empty() && !given.empty(); }

/** The newest `keep` of them stay. */
void dropEarlierImages(SqliteConnection& connection, std::int64_t entryId, int keep) {
    std::vector<std::pair<std::int64_t, std::int64_t>> surplus;
    {
        StatementUse statement = connection.use(selectSurplusEarlier);
        statement->bind(1, entryId);
        statement->bind(2, keep);
        while (statement->executeStep())
            surplus.emplace_back(statement->getColumn(0).getInt64(), statement->getColumn(1).getInt64());
    }
    for (const auto& [row, image] : surplus) {
        execute(connection, deleteEarlier, row);
        execute(connection, deleteUnusedImage, image);
    }
}

std::vector<Entry> matching(SqliteConnection& connection, const char* sql, const std::string& expression,
                            std::int64_t limit) {
    StatementUse statement = connection.use(sql);
    statement->bind(1, expression);
    statement->bind(2, limit);
    return readEntries(*statement);
}

struct BlobCloser {
    void operator()(sqlite3_blob* blob) const noexcept { sqlite3_blob_close(blob); }
};

std::int64_t count(SQLite::Statement& statement) {
    statement.executeStep();
    return statement.getColumn(0).getInt64();
}

} // namespace

std::optional<Entry> findEntry(SqliteConnection& connection, const Record& record) {
    const MatchKeys keys = matchKeys(record);
    if (!keys.album.empty()) return selectOne(connection, selectByAlbum, keys.album);
    if (!keys.title.empty()) return selectOne(connection, selectByTitle, keys.title);
    return std::nullopt;
}

std::int64_t insertEntry(SqliteConnection& connection, const Record& record) {
    {
        StatementUse statement = connection.use(insertEntryRow);
        bindRecord(*statement, record);
        statement->exec();
    }
    const std::int64_t id = connection.database().getLastInsertRowid();
    indexWords(connection, id, record);
    return id;
}

void dropOldestEmptyEntries(SqliteConnection& connection, int keep) {
    std::vector<std::int64_t> surplus;
    {
        StatementUse statement = connection.use(selectSurplusEmpty);
        statement->bind(1, keep);
        while (statement->executeStep())
            surplus.push_back(statement->getColumn(0).getInt64());
    }
    for (const std::int64_t id : surplus) {
        dropEarlierImages(connection, id, 0); // an entry whose cover was dropped has some
        execute(connection, deleteWords, id);
        execute(connection, deleteEntry, id);
    }
}

void completeEntry(SqliteConnection& connection, const Entry& entry, const Record& record) {
    Record completed = entry.record;
    bool changed = false;
    for (std::string Record::*field : {&Record::artist, &Record::title, &Record::album, &Record::genre,
                                       &Record::songFilename, &Record::uid, &Record::imageUrl}) {
        if (!lacks(completed.*field, record.*field)) continue;
        completed.*field = record.*field;
        changed = true;
    }
    if (!changed) return;
    {
        StatementUse statement = connection.use(updateEntry);
        bindRecord(*statement, completed);
        statement->bind(11, entry.id);
        statement->exec();
    }
    execute(connection, deleteWords, entry.id);
    indexWords(connection, entry.id, completed);
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
        StatementUse statement = connection.use(selectContentRow);
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

std::vector<Entry> emptyEntries(SqliteConnection& connection) {
    StatementUse statement = connection.use(selectEmpty);
    return readEntries(*statement);
}

SearchResult search(SqliteConnection& connection, const Search& search, int limit) {
    const std::string expression = matchExpression(search);
    if (expression.empty()) {
        StatementUse entries = connection.use(selectNewest);
        entries->bind(1, limit);
        StatementUse total = connection.use(countAll);
        return {readEntries(*entries), count(*total)};
    }
    std::vector<Entry> all = matching(connection, selectFewMatching, expression, std::int64_t{limit} + 1);
    if (const auto found = static_cast<std::int64_t>(all.size()); found <= limit)
        return {std::move(all), found};
    StatementUse total = connection.use(countMatching);
    total->bind(1, expression);
    return {matching(connection, selectNewestMatching, expression, limit), count(*total)};
}

} // namespace store::sqlite
