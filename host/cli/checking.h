/** A check from the files to the answers of the rules. */
#pragma once

#include "checker/outcome.h"
#include "cli/check_command.h"
#include "cli/progress.h"

namespace host
{

/**
 * Brings up the configurations and asks the plug-in. Whatever comes in the way is in the outcome.
 * Warnings are not confirmed yet.
 * @param err  Receives what the plug-in writes, if nothing in the outcome tells it.
 */
Outcome check(const CheckOptions &options, Progress &progress, std::ostream &err);

} // namespace host
