/**
 * @file
 * `gpon-validate check` of several edits.
 */
#pragma once

#include "cli/check_options.h"
#include "cli/console.h"

namespace host
{

/**
 * Checks each edit against the running configuration, or in turn: each on top of those before it,
 * which are committed. In turn, the first edit that is not accepted is the last that is checked,
 * because those behind it were made for a configuration that does not come about.
 * @return Exit code: that of the worst result.
 */
int run_series(const CheckOptions &options, const Console &console);

} // namespace host
