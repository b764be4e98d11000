/**
 * @file
 * `gpon-validate fleet`: is a change of many cards sound?
 */
#pragma once

#include "cli/console.h"
#include "cli/fleet_options.h"

namespace host
{

/** Exit code of a run that was asked to end. */
inline constexpr int kInterrupted = 5;

/**
 * Checks the cards, writes their results, and prints a summary.
 * @return Exit code: that of the worst result, or kInterrupted.
 */
int run_fleet_command(const FleetOptions &options, const Console &console);

/** Merges the results of parts, and prints the summary. @return Exit code, as the run's. */
int run_fleet_merge(const FleetOptions &options, const Console &console);

} // namespace host
