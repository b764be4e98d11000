/**
 * @file
 * `gpon-twin history` and `gpon-twin show`: what a state folder holds.
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

struct HistoryOptions {
    std::string state;          /**< Folder. */
    std::size_t limit = 0;      /**< Commits to list; 0: all. */
    CommitNumber number = 0;    /**< Of the commit to show. */
    bool configuration = false; /**< Show what was running after it. */
    bool json = false;
};

/** Add the commands with their options. */
void add_history(CLI::App &program, HistoryOptions &options);
void add_show(CLI::App &program, HistoryOptions &options);

/** Lists the commits, latest first. @throws HistoryError */
void list_commits(const HistoryOptions &options, std::ostream &out);

/**
 * Shows who made a commit and what it changed, or would have changed, or the configuration after
 * it. Secrets are masked
 * but in a configuration, which can be given to a card.
 * @throws HistoryError, engine::InputError
 */
void show_commit(const HistoryOptions &options, std::ostream &out, const Style &style);

} // namespace host::twin
