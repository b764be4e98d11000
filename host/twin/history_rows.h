/**
 * @file
 * What stands in the tables of a history. All throw SQLite::Exception where the file fails.
 */
#pragma once

#include "twin/commit_record.h"

#include <SQLiteCpp/SQLiteCpp.h>

namespace host::twin
{

/** The row of a commit. @throws HistoryError  There is none. */
SQLite::Statement row_of(SQLite::Database &database, CommitNumber number);
Commit commit_of(SQLite::Statement &row);
Step step_of(SQLite::Statement &row);

/** @param base  What was running before it. @return Its number. */
CommitNumber insert_commit(SQLite::Database &database, const Commit &commit, const Step &step,
                           CommitNumber base);

/** Follows commits back to a snapshot, or to a configuration that was given as a whole.
 *  @throws HistoryError  There is no such commit. */
StoredConfiguration configuration_after(SQLite::Database &database, CommitNumber number);

/** Nothing in a new file. */
std::optional<CommitNumber> running_of(SQLite::Database &database);
void set_running(SQLite::Database &database, CommitNumber number);

std::optional<PendingConfirmation> pending_of(SQLite::Database &database);
void set_pending(SQLite::Database &database, const std::optional<PendingConfirmation> &pending);

} // namespace host::twin
