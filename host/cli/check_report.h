/**
 * @file
 * The report of a check on its way to the console.
 */
#pragma once

#include "checker/outcome.h"
#include "cli/check_options.h"
#include "cli/console.h"

namespace host
{

/** Which edit of a series a report is about. */
struct Place {
    std::size_t number = 0; /**< 0: of none. */
    std::size_t total = 0;
};

/**
 * Prints the report of one check: of several as one line of JSON each, or below a heading.
 * Asks the operator about warnings if that is due and there is somebody to ask.
 */
void print_report(Outcome &outcome, const CheckOptions &options, const Console &console,
                  const Place &place = {});

/** Applies --yes, --no and --warnings-as-errors to an outcome. */
void note_need(Outcome &outcome, const CheckOptions &options);

} // namespace host
