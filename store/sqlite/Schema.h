// SPDX-License-Identifier: MIT
#pragma once

#include <SQLiteCpp/Database.h>

namespace store {

/** @throws util::Exception when the database belongs to another program or to a newer version of this one */
void refuseForeignDatabase(SQLite::Database& database);

/**
 * Brings the database to the schema of this program, from nothing or from any older version. Two processes
 * may do so at the same time: one migrates, the other finds it done.
 * @throws util::Exception when the database belongs to something else or to a newer version
 */
void migrate(SQLite::Database& database);

} // namespace store
