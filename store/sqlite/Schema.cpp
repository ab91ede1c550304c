// SPDX-License-Identifier: MIT
#include "store/sqlite/Schema.h"

#include "util/Exception.h"

#include <SQLiteCpp/Transaction.h>
#include <fmt/format.h>

#include <array>

namespace store {
namespace {

constexpr int applicationId = 0x736C7679; // "slvy"; `file` and SQLite's own tools show it

/**
 * migrations[n] takes a database from version n to n + 1. One that has been released is never edited: a
 * change is a new one. docs/store.md explains the tables.
 */
constexpr std::array<const char*, 2> migrations = {
    R"sql(
CREATE TABLE images (
    id                INTEGER PRIMARY KEY,
    hash              TEXT    NOT NULL UNIQUE,
    mime_type         TEXT    NOT NULL,
    width_pixels      INTEGER NOT NULL,
    height_pixels     INTEGER NOT NULL,
    size_bytes        INTEGER NOT NULL,
    shown_as_received INTEGER NOT NULL,
    content           BLOB    NOT NULL
);

-- AUTOINCREMENT: the id of an entry that has gone is never given to another one.
CREATE TABLE entries (
    id            INTEGER PRIMARY KEY AUTOINCREMENT,
    album_key     TEXT,
    title_key     TEXT,
    image         INTEGER REFERENCES images (id),
    sampler       INTEGER NOT NULL,
    artist        TEXT    NOT NULL,
    title         TEXT    NOT NULL,
    album         TEXT    NOT NULL,
    genre         TEXT    NOT NULL,
    song_filename TEXT    NOT NULL,
    uid           TEXT    NOT NULL,
    image_url     TEXT    NOT NULL
);
CREATE UNIQUE INDEX entries_by_album ON entries (album_key) WHERE album_key IS NOT NULL;
CREATE UNIQUE INDEX entries_by_song ON entries (title_key) WHERE album_key IS NULL;
CREATE INDEX entries_by_title ON entries (title_key) WHERE title_key IS NOT NULL;
CREATE INDEX entries_by_image ON entries (image); -- of all of them: it also serves to count them

CREATE TABLE earlier_images (
    id    INTEGER PRIMARY KEY AUTOINCREMENT,
    entry INTEGER NOT NULL REFERENCES entries (id) ON DELETE CASCADE,
    image INTEGER NOT NULL REFERENCES images (id),
    UNIQUE (entry, image)
);
CREATE INDEX earlier_images_by_image ON earlier_images (image);

-- Folded words with a letter for their field, one blank between them, so that the tokenizer only has to split at blanks: names
-- such as "+/-" are words, too. Only which words an entry has is kept, not where: that makes the lists short, and they are
-- walked through. Beginnings of up to three letters have lists of their own.
CREATE VIRTUAL TABLE entry_words USING fts5 (
    words,
    detail = none, columnsize = 0, prefix = '2 3 4',
    tokenize = "ascii tokenchars '!""#$%&()*+,-./:;<=>?@[\]^_`{|}~'''"
);
-- A search looks into each part of the index, so they are joined early; and it jumps from page to page, and has to read from
-- the beginning of each to where it wants to be.
INSERT INTO entry_words (entry_words, rank) VALUES ('automerge', 2);
INSERT INTO entry_words (entry_words, rank) VALUES ('pgsz', 1000);

CREATE TABLE parameters (
    name  TEXT PRIMARY KEY,
    value TEXT NOT NULL
) WITHOUT ROWID;

CREATE TABLE jobs (
    id             INTEGER PRIMARY KEY AUTOINCREMENT,
    kind           TEXT    NOT NULL CHECK (kind IN ('tag', 'delete')),
    entry          INTEGER NOT NULL,
    image_hash     TEXT    NOT NULL, -- the entry's image when the job was queued; empty: none
    path           BLOB    NOT NULL,
    replace        INTEGER NOT NULL,
    state          TEXT    NOT NULL CHECK (state IN ('queued', 'running', 'done', 'failed')),
    reason         TEXT    NOT NULL,
    attempts       INTEGER NOT NULL,
    due            INTEGER NOT NULL, -- not before; milliseconds since 1970
    temporary_file BLOB    NOT NULL
);
CREATE INDEX jobs_by_entry ON jobs (entry);
CREATE INDEX jobs_open ON jobs (id) WHERE state IN ('queued', 'running');
)sql",
    R"sql(
CREATE TABLE offered_images (
    id    INTEGER PRIMARY KEY,
    image INTEGER NOT NULL UNIQUE REFERENCES images (id)
);

CREATE TABLE answers (
    id         INTEGER PRIMARY KEY,
    key        TEXT    NOT NULL UNIQUE,
    expires    INTEGER NOT NULL, -- milliseconds since 1970
    size_bytes INTEGER NOT NULL,
    answer     BLOB    NOT NULL
);
CREATE INDEX answers_by_expiry ON answers (expires, size_bytes); -- all that it takes to say which are too many

CREATE TABLE services (
    name         TEXT    PRIMARY KEY,
    turn         INTEGER NOT NULL DEFAULT 0, -- when it will have come to rest; milliseconds since 1970
    failures     INTEGER NOT NULL DEFAULT 0,
    reason       TEXT    NOT NULL DEFAULT '',
    paused_until INTEGER NOT NULL DEFAULT 0  -- milliseconds since 1970
) WITHOUT ROWID;
)sql",
};

constexpr int currentVersion = static_cast<int>(migrations.size());

int pragma(SQLite::Database& database, const char* name) {
    return database.execAndGet(fmt::format("PRAGMA {}", name)).getInt();
}

} // namespace

void refuseForeignDatabase(SQLite::Database& database) {
    const bool empty = database.execAndGet("SELECT count(*) FROM sqlite_master").getInt() == 0;
    const int version = pragma(database, "user_version");
    if (version < 0 || (!empty && pragma(database, "application_id") != applicationId))
        throw util::Exception(
            "The database in the state folder is no cover store; move it away or use another folder.");
    if (version > currentVersion)
        throw util::Exception(
            fmt::format("The cover store was written by a newer version of this program (its version is {}, "
                        "this program knows {}); install that version or use another state folder.",
                        version, currentVersion));
}

void migrate(SQLite::Database& database) {
    refuseForeignDatabase(database);
    if (pragma(database, "user_version") == currentVersion) return;
    SQLite::Transaction transaction(database, SQLite::TransactionBehavior::IMMEDIATE);
    refuseForeignDatabase(database); // another process may have been here before the lock
    for (int version = pragma(database, "user_version"); version < currentVersion; ++version)
        database.exec(migrations.at(static_cast<std::size_t>(version)));
    database.exec(
        fmt::format("PRAGMA application_id = {}; PRAGMA user_version = {}", applicationId, currentVersion));
    transaction.commit();
}

} // namespace store
