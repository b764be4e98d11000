/**
 * @file
 * Checks that are kept in a file, to be made again somewhere else.
 */
#pragma once

#include "cli/check_options.h"
#include "cli/console.h"

namespace host
{

/** As `check`, then packs it all into the bundle that the options name. @return Exit code. */
int check_and_bundle(CheckOptions options, const Console &console);

} // namespace host
