/**
 * @file
 * `gpon-twin rollback`: back to what was running after an earlier commit.
 */
#pragma once

#include "report/style.h"
#include "twin/history.h"

#include <iosfwd>
#include <string>

namespace CLI
{
class App;
}

namespace host::twin
{

struct RollbackOptions {
    std::string state;
    std::string unix_socket; /**< Of the server that uses the folder; empty: the folder's own. */
    CommitNumber number = 0;
    std::string card; /**< File of capabilities; empty: those of an ordinary card. */
    std::string plugin;
    bool confirms_warnings = false;
};

/** Adds the command with its options. */
void add_rollback(CLI::App &program, RollbackOptions &options);

/**
 * Asks the rules about the configuration, as about any change; if they accept, it becomes a commit.
 * A server that uses the folder is asked to do it.
 * @return Exit code: how the check ended.
 * @throws HistoryError, engine::InputError
 */
int roll_back(const RollbackOptions &options, std::ostream &out, const Style &style);

} // namespace host::twin
