/**
 * @file
 * A rollback that a running server is asked for.
 */
#pragma once

#include "checker/outcome.h"
#include "twin/history.h"

#include <iosfwd>
#include <string>

namespace host::twin
{

/**
 * Asks over the server's UNIX socket, and prints what it answers.
 * @return Accepted, rejected or not confirmed.
 * @throws HistoryError  It cannot be asked.
 */
Result request_rollback(const std::string &socket, CommitNumber number, bool confirms_warnings,
                        std::ostream &out);

} // namespace host::twin
