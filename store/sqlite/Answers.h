// SPDX-License-Identifier: MIT
#pragma once

#include "store/CoverStore.h"
#include "store/sqlite/Connection.h"

#include <optional>
#include <string>
#include <string_view>

// What web services answered, and how they are to be treated, in the database. None of these opens a
// transaction: the caller does.
namespace store::sqlite {

[[nodiscard]] std::optional<std::string> keptAnswer(SqliteConnection& connection, std::string_view key,
                                                    Clock::time_point now);

/** Now and then, others go for it: those that expire first, as many as are too many or too large. */
void keepAnswer(SqliteConnection& connection, std::string_view key, std::string_view answer,
                Clock::time_point expires);

[[nodiscard]] std::optional<Clock::time_point> reserveTurn(SqliteConnection& connection,
                                                           std::string_view service, const Pace& pace,
                                                           Clock::time_point now, Clock::time_point latest);

[[nodiscard]] ServiceState serviceState(SqliteConnection& connection, std::string_view service);
void setServiceState(SqliteConnection& connection, std::string_view service, const ServiceState& state);

} // namespace store::sqlite
