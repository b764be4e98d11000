/**
 * @file
 * The command line of `gpon-validate check`, of which other commands take parts.
 */
#pragma once

#include "cli/check_options.h"

#include <string>

namespace CLI
{
class App;
}

namespace host
{

/** --yes, --no, --warnings-as-errors and --all. */
void add_answers(CLI::App &app, CheckOptions &options);
/** --timeout and --max-size. */
void add_limits(CLI::App &app, CheckOptions &options);
/** FORMAT or FORMAT=FILE. @throws CLI::ValidationError */
ReportOption read_report(const std::string &text);

/** Two reports on stdout could not be told apart. @throws CLI::ValidationError */
void require_one_on_stdout(const CheckOptions &options);

/** Adds the command with its options. */
void add_check(CLI::App &program, CheckOptions &options);

} // namespace host
