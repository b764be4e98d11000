/**
 * @file
 * `gpon-validate audit`: whether the rules' declared dependencies are what they depend on.
 */
#pragma once

#include "cli/check_options.h"
#include "cli/console.h"

namespace host
{

/**
 * Asks all rules about all their nodes, in the running configuration and after each edit.
 * @return Exit code: 0 without a finding, 1 with one, 3 and 4 as of a check.
 */
int run_audit(const CheckOptions &options, const Console &console);

} // namespace host
