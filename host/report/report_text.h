/**
 * @file
 * The report of a check for people.
 */
#pragma once

#include "checker/outcome.h"
#include "report/report_remarks.h"
#include "report/style.h"

#include <iosfwd>

namespace host
{

/** Prints what was found, up to the point where the operator may have to answer. */
void print_findings(std::ostream &out, const Outcome &outcome, const Style &style,
                    const TextDetail &detail = {});

/** Prints how it ended. */
void print_conclusion(std::ostream &out, const Outcome &outcome, const Style &style);

/** Prints faults of an input as `file:line:column: path: message`, with hints. */
void print_problems(std::ostream &out, const std::vector<engine::Problem> &problems,
                    const Style &style);

/** Tells what was skipped in the inputs, a line for each model. */
void print_skipped(std::ostream &out, const std::vector<SkippedPart> &skipped, const Style &style);

} // namespace host
