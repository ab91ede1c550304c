// SPDX-License-Identifier: MIT
#include "store/sqlite/Entries.h"

#include "store/MatchKey.h"
#include "store/SearchWords.h"
#include "store/sqlite/Images.h"
#include "store/sqlite/MatchExpression.h"
#include "store/sqlite/Statements.h"

namespace store::sqlite {
namespace {

// Every statement that yields entries lists the same columns in the same order, and readEntry() reads them.
#define ENTRY_COLUMNS                                                                                        \
    "e.id, e.artist, e.title, e.album, e.genre, e.song_filename, e.uid, e.image_url, e.sampler, "            \
    "i.hash, i.mime_type, i.width_pixels, i.height_pixels, i.size_bytes, i.shown_as_received "
#define ENTRY_TABLES "FROM entries e LEFT JOIN images i ON i.id = e.image "

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

#undef ENTRY_COLUMNS
#undef ENTRY_TABLES

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

std::vector<Entry> matching(SqliteConnection& connection, const char* sql, const std::string& expression,
                            std::int64_t limit) {
    StatementUse statement = connection.use(sql);
    statement->bind(1, expression);
    statement->bind(2, limit);
    return readEntries(*statement);
}

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
    for (const auto field : {&Record::artist, &Record::title, &Record::album, &Record::genre,
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
