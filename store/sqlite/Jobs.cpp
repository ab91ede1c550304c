// SPDX-License-Identifier: MIT
#include "store/sqlite/Jobs.h"

#include "store/sqlite/Statements.h"

namespace store::sqlite {
namespace {

// Every statement that yields jobs lists the same columns in the same order, and readJob() reads them.
#define JOB_COLUMNS                                                                                          \
    "j.id, j.kind, j.entry, j.path, j.replace, j.state, j.reason, j.attempts, j.temporary_file, "            \
    "j.image_hash "

constexpr const char* insertRow =
    "INSERT INTO jobs (kind, entry, image_hash, path, replace, state, reason, attempts, due, temporary_file) "
    "VALUES (?1, ?2, coalesce((SELECT i.hash FROM entries e JOIN images i ON i.id = e.image WHERE e.id = "
    "?2), ''), "
    "?3, ?4, 'queued', '', 0, 0, x'')";
constexpr const char* selectOfEntry = "SELECT " JOB_COLUMNS "FROM jobs j WHERE j.entry = ? ORDER BY j.id";
// Only a query that has the condition of the index jobs_open, word for word, goes without all the finished
// jobs.
#define IS_OPEN "j.state IN ('queued', 'running') "
constexpr const char* selectRunning =
    "SELECT " JOB_COLUMNS "FROM jobs j WHERE " IS_OPEN "AND j.state = 'running'";
// A delete job gives way to later tag jobs of its entry as well: they could not do without the cover.
#define TAG_JOBS_LEFT                                                                                        \
    "EXISTS (SELECT 1 FROM jobs t WHERE t.entry = j.entry AND t.kind = 'tag' "                               \
    "AND t.state IN ('queued', 'running')) "
constexpr const char* selectNext =
    "SELECT " JOB_COLUMNS "FROM jobs j WHERE " IS_OPEN "AND j.state = 'queued' "
    "AND (j.due <= ?1 OR j.due > ?1 + ?2) AND (j.kind = 'tag' OR NOT " TAG_JOBS_LEFT
    ") ORDER BY j.id LIMIT 1";
constexpr const char* selectDue = "SELECT min(j.due) FROM jobs j WHERE " IS_OPEN "AND "
                                  "(j.kind = 'tag' OR NOT " TAG_JOBS_LEFT ")";
constexpr const char* selectFailedBefore =
    "SELECT 1 FROM jobs f WHERE f.entry = ?1 AND f.kind = 'tag' AND f.state = 'failed' AND f.id < ?2 "
    "AND NOT EXISTS (SELECT 1 FROM jobs d WHERE d.entry = ?1 AND d.path = f.path AND d.state = 'done' "
    "AND d.id > f.id)";
constexpr const char* updateStarted = "UPDATE jobs SET state = 'running', temporary_file = ? WHERE id = ?";
constexpr const char* updatePutBack = "UPDATE jobs SET state = 'queued', temporary_file = x'' WHERE id = ?";
constexpr const char* updatePostponed = "UPDATE jobs SET state = 'queued', temporary_file = x'', reason = ?, "
                                        "due = ?, attempts = attempts + 1 WHERE id = ?";
constexpr const char* updateFinished =
    "UPDATE jobs SET state = ?, reason = ?, temporary_file = x'' WHERE id = ?";
// What a waiting delete job has to know of, stays.
constexpr const char* deleteOld =
    "DELETE FROM jobs WHERE id <= ? AND state IN ('done', 'failed') AND NOT EXISTS (SELECT 1 FROM jobs o "
    "WHERE o.entry = jobs.entry AND o.state IN ('queued', 'running'))";

#undef JOB_COLUMNS
#undef IS_OPEN
#undef TAG_JOBS_LEFT

constexpr const char* tagKind = "tag";
constexpr const char* deleteKind = "delete";

JobState jobState(std::string_view name) {
    if (name == "queued") return JobState::Queued;
    if (name == "running") return JobState::Running;
    if (name == "done") return JobState::Done;
    return JobState::Failed;
}

Job readJob(const SQLite::Statement& row) {
    return {.id = row.getColumn(0).getInt(),
            .kind = row.getColumn(1).getString() == tagKind ? JobKind::WriteTag : JobKind::Delete,
            .entryId = row.getColumn(2).getInt(),
            .path = row.getColumn(3).getString(),
            .replace = row.getColumn(4).getInt() != 0,
            .state = jobState(row.getColumn(5).getString()),
            .reason = row.getColumn(6).getString(),
            .attempts = row.getColumn(7).getInt(),
            .temporaryFile = row.getColumn(8).getString(),
            .imageHash = row.getColumn(9).getString()};
}

std::vector<Job> readJobs(SQLite::Statement& statement) {
    std::vector<Job> jobs;
    while (statement.executeStep())
        jobs.push_back(readJob(statement));
    return jobs;
}

} // namespace

std::int64_t insertJob(SqliteConnection& connection, JobKind kind, int entryId, std::string_view path,
                       bool replace) {
    StatementUse statement = connection.use(insertRow);
    statement->bind(1, kind == JobKind::WriteTag ? tagKind : deleteKind);
    statement->bind(2, entryId);
    bindBytes(*statement, 3, path);
    statement->bind(4, replace ? 1 : 0);
    statement->exec();
    return connection.database().getLastInsertRowid();
}

std::vector<Job> jobsOf(SqliteConnection& connection, int entryId) {
    StatementUse statement = connection.use(selectOfEntry);
    statement->bind(1, entryId);
    return readJobs(*statement);
}

std::optional<Job> nextJob(SqliteConnection& connection, Clock::time_point now) {
    StatementUse statement = connection.use(selectNext);
    statement->bind(1, toMilliseconds(now));
    statement->bind(2, std::chrono::milliseconds(CoverStore::maxPostponement).count());
    if (!statement->executeStep()) return std::nullopt;
    return readJob(*statement);
}

std::optional<Clock::time_point> nextJobDue(SqliteConnection& connection) {
    StatementUse statement = connection.use(selectDue);
    statement->executeStep();
    if (statement->isColumnNull(0)) return std::nullopt;
    return fromMilliseconds(statement->getColumn(0).getInt64());
}

std::vector<Job> runningJobs(SqliteConnection& connection) {
    StatementUse statement = connection.use(selectRunning);
    return readJobs(*statement);
}

bool tagJobFailedBefore(SqliteConnection& connection, const Job& job) {
    StatementUse statement = connection.use(selectFailedBefore);
    statement->bind(1, job.entryId);
    statement->bind(2, job.id);
    return statement->executeStep();
}

void startJob(SqliteConnection& connection, int id, std::string_view temporaryFile) {
    StatementUse statement = connection.use(updateStarted);
    bindBytes(*statement, 1, temporaryFile);
    statement->bind(2, id);
    statement->exec();
}

void putBackJob(SqliteConnection& connection, int id) {
    StatementUse statement = connection.use(updatePutBack);
    statement->bind(1, id);
    statement->exec();
}

void postponeJob(SqliteConnection& connection, int id, const std::string& reason, Clock::time_point due) {
    StatementUse statement = connection.use(updatePostponed);
    statement->bind(1, reason);
    statement->bind(2, toMilliseconds(due));
    statement->bind(3, id);
    statement->exec();
}

void finishJob(SqliteConnection& connection, int id, const std::string& failure) {
    StatementUse statement = connection.use(updateFinished);
    statement->bind(1, failure.empty() ? "done" : "failed");
    statement->bind(2, failure);
    statement->bind(3, id);
    statement->exec();
}

void dropOldJobs(SqliteConnection& connection, int newestId, int keep) {
    StatementUse statement = connection.use(deleteOld);
    statement->bind(1, newestId - keep);
    statement->exec();
}

} // namespace store::sqlite
