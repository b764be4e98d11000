/**
 * @file
 * What the command line asks `gpon-validate fleet` for.
 */
#pragma once

#include "cli/check_options.h"
#include "fleet/card_list.h"

#include <string>
#include <vector>

namespace CLI
{
class App;
}

namespace host
{

struct FleetOptions {
    CheckOptions check;       /**< How each card is checked: those of its options that fleet has. */
    std::string list;         /**< File, or - for stdin. */
    std::string list_from;    /**< A folder instead. */
    std::string edit;         /**< For cards without one of their own. */
    std::string edit_command; /**< Makes it instead. */
    std::string output;
    unsigned jobs = 0; /**< 0: as many as there are processors. */
    bool resume = false;
    Shard shard;
    std::vector<std::string> parts;    /**< To be merged. */
    std::vector<ReportOption> reports; /**< All to files. */
    std::vector<std::string> pages;    /**< Files of the results as HTML. */
};

/** Adds the command with its options, and `fleet merge`. */
void add_fleet(CLI::App &program, FleetOptions &options);

} // namespace host
