// SPDX-License-Identifier: MIT
#pragma once

#include "store/CoverStore.h"
#include "store/sqlite/Connection.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// The queue of jobs in the database. None of these opens a transaction: the caller does.
namespace store::sqlite {

[[nodiscard]] std::int64_t insertJob(SqliteConnection& connection, JobKind kind, int entryId,
                                     std::string_view path, bool replace);
[[nodiscard]] std::vector<Job> jobsOf(SqliteConnection& connection, int entryId);
[[nodiscard]] std::optional<Job> nextJob(SqliteConnection& connection, Clock::time_point now);
[[nodiscard]] std::optional<Clock::time_point> nextJobDue(SqliteConnection& connection);
[[nodiscard]] std::vector<Job> runningJobs(SqliteConnection& connection);
[[nodiscard]] bool tagJobFailedBefore(SqliteConnection& connection, const Job& job);

void startJob(SqliteConnection& connection, int id, std::string_view temporaryFile);
void putBackJob(SqliteConnection& connection, int id);
void postponeJob(SqliteConnection& connection, int id, const std::string& reason, Clock::time_point due);
void finishJob(SqliteConnection& connection, int id, const std::string& failure);

/** Forgets finished jobs that are at least `keep` jobs old. */
void dropOldJobs(SqliteConnection& connection, int newestId, int keep);

} // namespace store::sqlite
