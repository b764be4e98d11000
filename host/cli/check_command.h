/**
 * @file
 * `gpon-validate check`: is a change sound?
 */
#pragma once

#include "cli/check_options.h"
#include "cli/console.h"

namespace host
{

/**
 * Checks the change or the edits, asks for confirmation if need be, and prints the reports.
 * @return Exit code.
 */
int run_check(const CheckOptions &options, const Console &console);

} // namespace host
