// SPDX-License-Identifier: MIT
#include "store/sqlite/Store.h"

#include "store/MatchKey.h"
#include "store/Sha256.h"
#include "store/sqlite/Answers.h"
#include "store/sqlite/Connection.h"
#include "store/sqlite/Entries.h"
#include "store/sqlite/Images.h"
#include "store/sqlite/Jobs.h"
#include "util/Exception.h"

#include <SQLiteCpp/Transaction.h>

#include <array>
#include <limits>
#include <type_traits>
#include <utility>

namespace store {
namespace {

constexpr const char* selectParameters = "SELECT name, value FROM parameters ORDER BY name";
constexpr const char* selectParameter = "SELECT value FROM parameters WHERE name = ?";
constexpr const char* upsertParameter = "INSERT INTO parameters (name, value) VALUES (?, ?) ON CONFLICT "
                                        "(name) DO UPDATE SET value = excluded.value";
constexpr const char* removeParameter = "DELETE FROM parameters WHERE name = ?";
int checkedId(std::int64_t id) {
    if (id <= 0 || id > std::numeric_limits<int>::max())
        throw util::Exception("The cover store has run out of ids.");
    return static_cast<int>(id);
}

} // namespace

template <typename Operation>
auto SqliteStore::run(std::string_view doing, Operation operation) {
    try {
        if (connection_ && connection_->hasMoved()) {
            connection_->disown();
            connection_.reset();
        }
        if (!connection_) connection_ = std::make_unique<SqliteConnection>(file_);
        return operation(*connection_);
    } catch (const SQLite::Exception& failure) {
        if (spoilsConnection(failure)) connection_.reset();
        throwStoreFailure(doing, failure);
    }
}

template <typename Operation>
void SqliteStore::write(std::string_view doing, Operation operation) {
    run(doing, [&](SqliteConnection& connection) {
        SQLite::Transaction transaction(connection.database(), SQLite::TransactionBehavior::IMMEDIATE);
        operation(connection);
        transaction.commit();
    });
}

template <typename Operation>
void SqliteStore::writeUnflushed(std::string_view doing, Operation operation) {
    run(doing, [&](SqliteConnection& connection) {
        const UnflushedCommits unflushed(connection);
        unflushed_ = true;
        SQLite::Transaction transaction(connection.database(), SQLite::TransactionBehavior::IMMEDIATE);
        operation(connection);
        transaction.commit();
    });
}

SqliteStore::SqliteStore(const std::filesystem::path& folder)
    : file_(folder / "covers.db"), renditions_(folder / "renditions") {
    run("open " + file_.string(), [](SqliteConnection&) {});
}

SqliteStore::~SqliteStore() = default;

std::optional<Entry> SqliteStore::findEntry(const Record& record) {
    return run("find an entry",
               [&](SqliteConnection& connection) { return sqlite::findEntry(connection, record); });
}

Entry SqliteStore::registerEntry(const Record& record) {
    std::optional<Entry> found;
    // The upload that this comes before is flushed, and that once is enough.
    writeUnflushed("register an entry", [&](SqliteConnection& connection) {
        found = sqlite::findEntry(connection, record);
        if (found) return;
        found = Entry{checkedId(sqlite::insertEntry(connection, record)), record, std::nullopt};
        // Counting them walks over all of them, which is too much for each new song.
        if (found->id % 100 == 0) sqlite::dropOldestEmptyEntries(connection, maxEmptyEntries);
    });
    return *std::move(found);
}

int SqliteStore::storeImage(const Record& record, const NewImage& image, IfPresent ifPresent) {
    const std::string hash = sha256(image.bytes);
    return run("store a cover", [&](SqliteConnection& connection) {
        SQLite::Transaction transaction(connection.database(), SQLite::TransactionBehavior::IMMEDIATE);
        const std::optional<Entry> found = sqlite::findEntry(connection, record);
        const int id = checkedId(found ? found->id : sqlite::insertEntry(connection, record));
        if (found) sqlite::completeEntry(connection, *found, record);
        if (!found || !found->image || ifPresent == IfPresent::Replace)
            sqlite::setEntryImage(connection, id, sqlite::imageRow(connection, hash, image));
        transaction.commit();
        connection.releaseMemory();
        return id;
    });
}

std::optional<ImageInfo> SqliteStore::cover(int id) {
    return run("look up a cover",
               [&](SqliteConnection& connection) { return sqlite::cover(connection, id); });
}

std::vector<ImageInfo> SqliteStore::earlierImages(int id) {
    return run("list earlier covers",
               [&](SqliteConnection& connection) { return sqlite::earlierImages(connection, id); });
}

std::optional<util::Buffer> SqliteStore::image(const std::string& hash) {
    return run("read a cover", [&](SqliteConnection& connection) {
        const SQLite::Transaction transaction(
            connection.database()); // the row and its content from one moment
        return sqlite::imageContent(connection, hash);
    });
}

std::optional<util::Buffer> SqliteStore::rendition(const std::string& hash) { return renditions_.find(hash); }

void SqliteStore::keepRendition(const std::string& hash, std::span<const std::byte> png,
                                std::uint64_t maxTotalBytes) {
    renditions_.keep(hash, png, maxTotalBytes);
}

std::string SqliteStore::offerImage(const NewImage& image) {
    std::string hash = sha256(image.bytes);
    writeUnflushed("offer an image", [&](SqliteConnection& connection) {
        sqlite::offerImage(connection, sqlite::imageRow(connection, hash, image));
    });
    connection_->releaseMemory();
    return hash;
}

SearchResult SqliteStore::search(const Search& search, int limit) {
    return run("search", [&](SqliteConnection& connection) {
        const SQLite::Transaction transaction(
            connection.database()); // entries and their number from one moment
        return sqlite::search(connection, search, limit);
    });
}

std::vector<Entry> SqliteStore::emptyEntries() {
    return run("list empty entries",
               [&](SqliteConnection& connection) { return sqlite::emptyEntries(connection); });
}

std::vector<Parameter> SqliteStore::parameters() {
    return run("list parameters", [&](SqliteConnection& connection) {
        std::vector<Parameter> all;
        StatementUse statement = connection.use(selectParameters);
        while (statement->executeStep())
            all.push_back({statement->getColumn(0).getString(), statement->getColumn(1).getString()});
        return all;
    });
}

std::optional<std::string> SqliteStore::parameter(std::string_view name) {
    return run("read a parameter", [&](SqliteConnection& connection) -> std::optional<std::string> {
        StatementUse statement = connection.use(selectParameter);
        statement->bind(1, std::string(name));
        if (!statement->executeStep()) return std::nullopt;
        return statement->getColumn(0).getString();
    });
}

void SqliteStore::setParameter(const Parameter& parameter) {
    writeUnflushed("set a parameter", [&](SqliteConnection& connection) {
        StatementUse statement = connection.use(upsertParameter);
        statement->bind(1, parameter.name);
        statement->bind(2, parameter.value);
        statement->exec();
    });
}

void SqliteStore::deleteParameter(std::string_view name) {
    writeUnflushed("delete a parameter", [&](SqliteConnection& connection) {
        StatementUse statement = connection.use(removeParameter);
        statement->bind(1, std::string(name));
        statement->exec();
    });
}

void SqliteStore::flush() {
    if (!unflushed_) return;
    run("flush", [](SqliteConnection& connection) { connection.flush(); });
    unflushed_ = false;
}

std::optional<std::string> SqliteStore::keptAnswer(std::string_view key, Clock::time_point now) {
    return run("look for an answer",
               [&](SqliteConnection& connection) { return sqlite::keptAnswer(connection, key, now); });
}

void SqliteStore::keepAnswer(std::string_view key, std::string_view answer, Clock::time_point expires) {
    writeUnflushed("keep an answer", [&](SqliteConnection& connection) {
        sqlite::keepAnswer(connection, key, answer, expires);
    });
    connection_->releaseMemory();
}

std::optional<Clock::time_point> SqliteStore::reserveTurn(std::string_view service, const Pace& pace,
                                                          Clock::time_point now, Clock::time_point latest) {
    std::optional<Clock::time_point> turn;
    writeUnflushed("reserve a turn", [&](SqliteConnection& connection) {
        turn = sqlite::reserveTurn(connection, service, pace, now, latest);
    });
    return turn;
}

ServiceState SqliteStore::serviceState(std::string_view service) {
    return run("look up a service",
               [&](SqliteConnection& connection) { return sqlite::serviceState(connection, service); });
}

void SqliteStore::setServiceState(std::string_view service, const ServiceState& state) {
    writeUnflushed("note the state of a service", [&](SqliteConnection& connection) {
        sqlite::setServiceState(connection, service, state);
    });
}

int SqliteStore::queueTagJob(int entryId, std::string_view path, bool replace) {
    int id = 0;
    // There may be thousands in one request, and a delete job comes behind them.
    writeUnflushed("queue a job", [&](SqliteConnection& connection) {
        id = checkedId(sqlite::insertJob(connection, JobKind::WriteTag, entryId, path, replace));
    });
    return id;
}

int SqliteStore::queueDeleteJob(int entryId) {
    int id = 0;
    write("queue a job", [&](SqliteConnection& connection) {
        id = checkedId(sqlite::insertJob(connection, JobKind::Delete, entryId, "", false));
    });
    return id;
}

std::vector<Job> SqliteStore::jobs(int entryId) {
    return run("list jobs",
               [&](SqliteConnection& connection) { return sqlite::jobsOf(connection, entryId); });
}

std::optional<Job> SqliteStore::nextJob(Clock::time_point now) {
    return run("find a job", [&](SqliteConnection& connection) { return sqlite::nextJob(connection, now); });
}

std::optional<Clock::time_point> SqliteStore::nextJobDue() {
    return run("find a job", [&](SqliteConnection& connection) { return sqlite::nextJobDue(connection); });
}

void SqliteStore::startJob(int id, std::string_view temporaryFile) {
    write("start a job",
          [&](SqliteConnection& connection) { sqlite::startJob(connection, id, temporaryFile); });
}

std::vector<Job> SqliteStore::runningJobs() {
    return run("list running jobs",
               [](SqliteConnection& connection) { return sqlite::runningJobs(connection); });
}

void SqliteStore::putBackJob(int id) {
    write("put a job back", [&](SqliteConnection& connection) { sqlite::putBackJob(connection, id); });
}

void SqliteStore::postponeJob(int id, const std::string& reason, Clock::time_point due) {
    write("postpone a job",
          [&](SqliteConnection& connection) { sqlite::postponeJob(connection, id, reason, due); });
}

void SqliteStore::finishJob(int id, const std::string& failure) {
    write("finish a job", [&](SqliteConnection& connection) {
        sqlite::finishJob(connection, id, failure);
        if (id % 100 == 0) sqlite::dropOldJobs(connection, id, maxFinishedJobs);
    });
}

bool SqliteStore::tagJobFailedBefore(const Job& job) {
    return run("look for failed jobs",
               [&](SqliteConnection& connection) { return sqlite::tagJobFailedBefore(connection, job); });
}

void SqliteStore::dropImage(int entryId, const std::string& hash) {
    write("drop a cover", [&](SqliteConnection& connection) {
        const std::optional<ImageInfo> image = sqlite::cover(connection, entryId);
        if (image && image->hash == hash) sqlite::dropEntryImage(connection, entryId);
    });
}

} // namespace store
