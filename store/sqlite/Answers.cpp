// SPDX-License-Identifier: MIT
#include "store/sqlite/Answers.h"

#include "store/sqlite/Statements.h"

#include <algorithm>
#include <chrono>

namespace store::sqlite {
namespace {

using std::chrono::milliseconds;

constexpr const char* selectAnswer = "SELECT answer FROM answers WHERE key = ? AND expires > ?";
// The one that is replaced goes, so that each that is kept has an id of its own, and ids count them.
constexpr const char* replaceAnswer =
    "INSERT OR REPLACE INTO answers (key, expires, size_bytes, answer) VALUES (?, ?, ?, ?)";
// In the order of the index answers_by_expiry, which has all that is needed: no answer is read for it.
constexpr const char* deleteSurplusAnswers =
    "DELETE FROM answers WHERE id <> ?1 AND id IN (SELECT id FROM ("
    "SELECT id, row_number() OVER latest AS number, sum(size_bytes) OVER latest AS total FROM answers "
    "WINDOW latest AS (ORDER BY expires DESC, size_bytes DESC, id DESC ROWS UNBOUNDED PRECEDING)) "
    "WHERE number > ?2 OR total > ?3)";

constexpr const char* selectTurn = "SELECT turn FROM services WHERE name = ?";
constexpr const char* upsertTurn = "INSERT INTO services (name, turn) VALUES (?, ?) "
                                   "ON CONFLICT (name) DO UPDATE SET turn = excluded.turn";
constexpr const char* selectState = "SELECT failures, reason, paused_until FROM services WHERE name = ?";
constexpr const char* upsertState =
    "INSERT INTO services (name, failures, reason, paused_until) VALUES (?, ?, ?, ?) "
    "ON CONFLICT (name) DO UPDATE SET failures = excluded.failures, reason = excluded.reason, "
    "paused_until = excluded.paused_until";

constexpr std::int64_t maxTotalBytes = std::int64_t{64} << 20U;

// Looking for what is too much costs milliseconds, which is too much for each answer; but many large ones
// would soon be far too much.
constexpr std::int64_t answersBetweenLooks = 100;
constexpr std::size_t largeAnswerBytes = std::size_t{256} << 10U;

// Nobody waits longer than this for a turn, unless told to.
constexpr std::chrono::minutes usualPatience{1};

milliseconds turnOf(SqliteConnection& connection, std::string_view service) {
    StatementUse statement = connection.use(selectTurn);
    statement->bind(1, std::string(service));
    return milliseconds(statement->executeStep() ? statement->getColumn(0).getInt64() : 0);
}

void setTurn(SqliteConnection& connection, std::string_view service, milliseconds turn) {
    StatementUse statement = connection.use(upsertTurn);
    statement->bind(1, std::string(service));
    statement->bind(2, std::int64_t{turn.count()});
    statement->exec();
}

} // namespace

std::optional<std::string> keptAnswer(SqliteConnection& connection, std::string_view key,
                                      Clock::time_point now) {
    StatementUse statement = connection.use(selectAnswer);
    statement->bind(1, std::string(key));
    statement->bind(2, toMilliseconds(now));
    if (!statement->executeStep()) return std::nullopt;
    return statement->getColumn(0).getString();
}

void keepAnswer(SqliteConnection& connection, std::string_view key, std::string_view answer,
                Clock::time_point expires) {
    {
        StatementUse statement = connection.use(replaceAnswer);
        statement->bind(1, std::string(key));
        statement->bind(2, toMilliseconds(expires));
        statement->bind(3, static_cast<std::int64_t>(answer.size()));
        bindBytes(*statement, 4, answer);
        statement->exec();
    }
    const std::int64_t id = connection.database().getLastInsertRowid();
    if (id % answersBetweenLooks != 0 && answer.size() < largeAnswerBytes) return;
    StatementUse statement = connection.use(deleteSurplusAnswers);
    statement->bind(1, id);
    statement->bind(2, CoverStore::maxKeptAnswers);
    statement->bind(3, maxTotalBytes);
    statement->exec();
}

// All that is kept of a service is the moment at which it will have come to rest from what was reserved: each
// turn puts it off by an interval, and comes when it is `burst` - 1 intervals ahead at most.
std::optional<Clock::time_point> reserveTurn(SqliteConnection& connection, std::string_view service,
                                             const Pace& pace, Clock::time_point now,
                                             Clock::time_point latest) {
    const auto present = std::chrono::ceil<milliseconds>(now.time_since_epoch());
    const auto patience =
        std::max<milliseconds>(usualPatience, std::chrono::ceil<milliseconds>(latest - now));
    milliseconds rest = turnOf(connection, service);
    // Nobody reserves that far ahead: the clock was put back since.
    if (rest > present + patience + pace.burst * pace.interval) rest = milliseconds::zero();
    const Clock::time_point turn = std::max(now, Clock::time_point(rest - (pace.burst - 1) * pace.interval));
    if (turn > latest) return std::nullopt;
    setTurn(connection, service, std::max(rest, present) + pace.interval);
    return turn;
}

ServiceState serviceState(SqliteConnection& connection, std::string_view service) {
    StatementUse statement = connection.use(selectState);
    statement->bind(1, std::string(service));
    if (!statement->executeStep()) return {};
    return {.failures = statement->getColumn(0).getInt(),
            .reason = statement->getColumn(1).getString(),
            .pausedUntil = fromMilliseconds(statement->getColumn(2).getInt64())};
}

void setServiceState(SqliteConnection& connection, std::string_view service, const ServiceState& state) {
    StatementUse statement = connection.use(upsertState);
    statement->bind(1, std::string(service));
    statement->bind(2, state.failures);
    statement->bind(3, state.reason);
    statement->bind(4, toMilliseconds(state.pausedUntil));
    statement->exec();
}

} // namespace store::sqlite
